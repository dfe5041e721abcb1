#include "retrieve_check.hpp"

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcuid.h"
#include "dcmtk/dcmnet/dimse.h"
#include "dcmtk/ofstd/ofstd.h"
#include "query_check.hpp"
#include "storage_listener.hpp"

namespace telvor::dcmtk {
namespace {

using Clock = std::chrono::steady_clock;

RetrieveAnswer answer(RetrieveOutcome outcome, std::string reason) { return {outcome, std::move(reason)}; }

std::string hex(unsigned status) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%04X", status);
  return code;
}

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

int secondsUntil(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::seconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::max<std::int64_t>(left, 1));
}

// --- finding one instance ------------------------------------------------------------------

struct FirstMatch {
  DcmTagKey key;
  std::optional<std::string> value;
};

void keepFirst(void* data, T_DIMSE_C_FindRQ*, int, T_DIMSE_C_FindRSP*, DcmDataset* identifiers) {
  auto& first = *static_cast<FirstMatch*>(data);
  OFString value;
  if (!first.value && identifiers != nullptr && identifiers->findAndGetOFString(first.key, value).good() &&
      !value.empty())
    first.value = value.c_str();
}

struct Found {
  std::string study, series, instance;
};

// The C-FIND failed (the reason), or found nothing at some level (an empty value).
using FindStep = std::variant<std::string, RetrieveAnswer>;

FindStep findFirst(T_ASC_Association& association, T_ASC_PresentationContextID id, const char* level,
                   const Found& known, const DcmTagKey& wanted, Deadline deadline, const EchoContext& context,
                   bool& sound) {
  DcmDataset query;
  query.putAndInsertString(DCM_QueryRetrieveLevel, level);
  query.putAndInsertString(DCM_StudyInstanceUID, known.study.c_str());
  if (!known.series.empty()) query.putAndInsertString(DCM_SeriesInstanceUID, known.series.c_str());
  query.putAndInsertString(wanted, "");
  T_DIMSE_C_FindRQ request{};
  request.MessageID = association.nextMsgID++;
  OFStandard::strlcpy(request.AffectedSOPClassUID, kStudyRootFind, sizeof request.AffectedSOPClassUID);
  request.Priority = DIMSE_PRIORITY_MEDIUM;
  request.DataSetType = DIMSE_DATASET_PRESENT;
  FirstMatch first{wanted, std::nullopt};
  T_DIMSE_C_FindRSP response{};
  DcmDataset* detail = nullptr;
  int responses = 0;
  const OFCondition c = DIMSE_findUser(&association, id, &request, &query, responses, keepFirst, &first,
                                       DIMSE_NONBLOCKING, secondsUntil(deadline), &response, &detail);
  delete detail;
  if (c.bad()) {
    sound = false;
    return answer(RetrieveOutcome::unknown, "No instance to retrieve could be found: the C-FIND at " +
                                                std::string(level) + " level to " + context.endpoint +
                                                " got no answer (" + c.text() + ").");
  }
  if (response.DimseStatus != STATUS_Success && !first.value)
    return answer(RetrieveOutcome::unknown, "No instance to retrieve could be found: " + context.endpoint +
                                                " answered the C-FIND at " + level + " level with status " +
                                                hex(response.DimseStatus) + ".");
  return first.value.value_or("");
}

// The first instance of the first series of the first study, or why there is none.
std::variant<Found, RetrieveAnswer> findInstance(T_ASC_Association& association, Deadline deadline,
                                                const EchoContext& context, bool& sound) {
  const T_ASC_PresentationContextID id = ASC_findAcceptedPresentationContextID(&association, kStudyRootFind);
  if (id == 0)
    return answer(RetrieveOutcome::unknown, context.endpoint + " does not offer Study Root C-FIND to AE title " +
                                                quoted(context.callingAeTitle) +
                                                ", so no instance to retrieve could be found.");
  struct Level {
    const char* name;
    DcmTagKey key;
    std::string Found::*field;
  };
  const std::array<Level, 3> levels{{{"STUDY", DCM_StudyInstanceUID, &Found::study},
                                     {"SERIES", DCM_SeriesInstanceUID, &Found::series},
                                     {"IMAGE", DCM_SOPInstanceUID, &Found::instance}}};
  Found found;
  for (const auto& level : levels) {
    FindStep step = findFirst(association, id, level.name, found, level.key, deadline, context, sound);
    if (auto* failure = std::get_if<RetrieveAnswer>(&step)) return std::move(*failure);
    std::string& value = std::get<std::string>(step);
    if (value.empty())
      return answer(RetrieveOutcome::unknown,
                    context.endpoint + " holds nothing to retrieve (its C-FIND at " + level.name +
                        " level matched nothing), so whether retrieving works cannot be told.");
    found.*level.field = std::move(value);
  }
  return found;
}

DcmDataset instanceIdentifier(const Found& found) {
  DcmDataset keys;
  keys.putAndInsertString(DCM_QueryRetrieveLevel, "IMAGE");
  keys.putAndInsertString(DCM_StudyInstanceUID, found.study.c_str());
  keys.putAndInsertString(DCM_SeriesInstanceUID, found.series.c_str());
  keys.putAndInsertString(DCM_SOPInstanceUID, found.instance.c_str());
  return keys;
}

std::string unknownDestination(const EchoContext& context, std::uint16_t port) {
  const std::string title(context.callingAeTitle);
  return "the peer does not know " + title + " as a move destination; add " + title +
         " with this computer's address and port " + std::to_string(port) + " to its list of peers";
}

// A peer that answers a retrieve request of an instance it just found by closing the
// association refuses it (Orthanc does so to AE titles not allowed to retrieve).
bool refusedByClosing(const OFCondition& c) { return c == DUL_PEERABORTEDASSOCIATION || c == DUL_NETWORKCLOSED; }

RetrieveAnswer closedInsteadOf(const char* service, const EchoContext& context) {
  return answer(RetrieveOutcome::no, context.endpoint + " refused the " + service +
                                         ": it closed the association instead of answering. It most likely does not "
                                         "allow AE title " +
                                         quoted(context.callingAeTitle) +
                                         " to retrieve; allow it on the peer (or use the node's other retrieve mode).");
}

// --- C-MOVE ----------------------------------------------------------------------------------

// C-MOVE checks on one port take turns: only one listener can have it.
std::timed_mutex& portTurn(std::uint16_t port) {
  static std::mutex guard;
  static std::map<std::uint16_t, std::timed_mutex> turns;  // never shrinks: a mutex per port used
  const std::lock_guard lock(guard);
  return turns[port];
}

RetrieveAnswer move(T_ASC_Association& association, const RetrieveCheck& check, const EchoContext& context,
                    const Found& found, int peer, Deadline deadline, const std::function<bool()>& deadlinePassed,
                    bool& sound) {
  const T_ASC_PresentationContextID id = ASC_findAcceptedPresentationContextID(&association, kStudyRootMove);
  if (id == 0)
    return answer(RetrieveOutcome::no, context.endpoint + " does not offer Study Root C-MOVE to AE title " +
                                           quoted(context.callingAeTitle) + ": retrieving by C-MOVE will fail.");
  if (check.listenPort == 0)
    return answer(RetrieveOutcome::unknown, "A C-MOVE check needs the port this computer receives on (the one " +
                                                context.endpoint + " knows for " + quoted(context.callingAeTitle) +
                                                "): give a listening port.");
  std::unique_lock turn(portTurn(check.listenPort), std::defer_lock);
  if (!turn.try_lock_until(deadline))
    return answer(RetrieveOutcome::unknown, "Port " + std::to_string(check.listenPort) +
                                                " was busy with another node's retrieve check until the time ran out.");
  StorageListener listener(check.listenPort, trustedAddresses(peer, check.acceptFrom), found.instance,
                           check.maxInstanceBytes, deadline);
  if (!listener.failure().empty())
    return answer(RetrieveOutcome::unknown, "No storage listener for the C-MOVE: " + listener.failure() + ".");

  DcmDataset keys = instanceIdentifier(found);
  T_DIMSE_C_MoveRQ request{};
  request.MessageID = association.nextMsgID++;
  OFStandard::strlcpy(request.AffectedSOPClassUID, kStudyRootMove, sizeof request.AffectedSOPClassUID);
  OFStandard::strlcpy(request.MoveDestination, std::string(context.callingAeTitle).c_str(),
                      sizeof request.MoveDestination);
  request.Priority = DIMSE_PRIORITY_MEDIUM;
  request.DataSetType = DIMSE_DATASET_PRESENT;
  T_DIMSE_C_MoveRSP response{};
  DcmDataset* detail = nullptr;
  DcmDataset* identifiers = nullptr;
  const OFCondition c = DIMSE_moveUser(&association, id, &request, &keys, nullptr, nullptr, DIMSE_NONBLOCKING,
                                       secondsUntil(deadline), nullptr, nullptr, nullptr, &response, &detail,
                                       &identifiers);
  delete detail;
  delete identifiers;
  listener.stop();
  const auto refusals = listener.refusals();
  if (listener.received()) return answer(RetrieveOutcome::yes, {});
  if (c.bad()) {
    sound = false;
    if (!deadlinePassed() && refusedByClosing(c)) return closedInsteadOf("C-MOVE", context);
    return answer(RetrieveOutcome::unknown, context.endpoint + (deadlinePassed() ? " did not finish the C-MOVE in time"
                                                                                  : " ended the C-MOVE (" +
                                                                                        std::string(c.text()) + ")") +
                                                ", and the instance did not arrive.");
  }
  if (!refusals.empty()) {
    std::string list;
    for (const auto& refusal : refusals) list += (list.empty() ? "" : "; ") + refusal;
    return answer(RetrieveOutcome::no, "The storage listener on port " + std::to_string(check.listenPort) +
                                           " refused " + list +
                                           ": if that host sends for the peer, allow its address.");
  }
  if (response.DimseStatus == STATUS_MOVE_Refused_MoveDestinationUnknown)
    return answer(RetrieveOutcome::no, context.endpoint + " refused the C-MOVE (status 0xA801, move destination "
                                                          "unknown): " +
                                           unknownDestination(context, check.listenPort) + ".");
  if (response.DimseStatus != STATUS_Success)
    return answer(RetrieveOutcome::no, context.endpoint + " refused the C-MOVE of an instance it holds (status " +
                                           hex(response.DimseStatus) + "): most likely " +
                                           unknownDestination(context, check.listenPort) + ".");
  return answer(RetrieveOutcome::no, context.endpoint + " reported the C-MOVE done, but the instance did not arrive "
                                                        "on port " +
                                         std::to_string(check.listenPort) + ": the peer sends " +
                                         std::string(context.callingAeTitle) +
                                         "'s instances to another address or port; set this computer's address "
                                         "and port " +
                                         std::to_string(check.listenPort) + " for it on the peer.");
}

// --- C-GET -----------------------------------------------------------------------------------

struct GetProgress {
  std::string instance;
  std::uint64_t maxBytes;
  int fd;
  bool received = false;
  bool exceeded = false;
  std::string refused;
};

void boundGetSize(void* data, unsigned long bytes) {
  auto& progress = *static_cast<GetProgress*>(data);
  if (bytes > progress.maxBytes && !progress.exceeded) {
    progress.exceeded = true;
    ::shutdown(progress.fd, SHUT_RDWR);
  }
}

RetrieveAnswer get(T_ASC_Association& association, const RetrieveCheck& check, const EchoContext& context,
                   const Found& found, int peer, Deadline deadline, const std::function<bool()>& deadlinePassed,
                   bool& sound) {
  const T_ASC_PresentationContextID id = ASC_findAcceptedPresentationContextID(&association, kStudyRootGet);
  if (id == 0)
    return answer(RetrieveOutcome::no, context.endpoint + " does not offer Study Root C-GET to AE title " +
                                           quoted(context.callingAeTitle) + ": retrieving by C-GET will fail.");
  DcmDataset keys = instanceIdentifier(found);
  T_DIMSE_Message message{};
  message.CommandField = DIMSE_C_GET_RQ;
  T_DIMSE_C_GetRQ& request = message.msg.CGetRQ;
  request.MessageID = association.nextMsgID++;
  OFStandard::strlcpy(request.AffectedSOPClassUID, kStudyRootGet, sizeof request.AffectedSOPClassUID);
  request.Priority = DIMSE_PRIORITY_MEDIUM;
  request.DataSetType = DIMSE_DATASET_PRESENT;
  const auto lost = [&](const OFCondition& c) {
    sound = false;
    if (!deadlinePassed() && refusedByClosing(c)) return closedInsteadOf("C-GET", context);
    return answer(RetrieveOutcome::unknown, context.endpoint + (deadlinePassed() ? " did not finish the C-GET in time"
                                                                                  : " ended the C-GET (" +
                                                                                        std::string(c.text()) + ")") +
                                                ", and the instance did not arrive.");
  };
  if (const OFCondition c = DIMSE_sendMessageUsingMemoryData(&association, id, &message, nullptr, &keys, nullptr,
                                                             nullptr);
      c.bad())
    return lost(c);

  GetProgress progress{found.instance, check.maxInstanceBytes, peer, false, false, {}};
  for (;;) {
    T_ASC_PresentationContextID rid = 0;
    T_DIMSE_Message reply{};
    DcmDataset* detail = nullptr;
    OFCondition c = DIMSE_receiveCommand(&association, DIMSE_NONBLOCKING, secondsUntil(deadline), &rid, &reply,
                                         &detail);
    delete detail;
    if (c.bad()) return progress.received ? answer(RetrieveOutcome::yes, {}) : lost(c);
    if (reply.CommandField == DIMSE_C_GET_RSP) {
      const unsigned status = reply.msg.CGetRSP.DimseStatus;
      if (reply.msg.CGetRSP.DataSetType != DIMSE_DATASET_NULL) {
        DcmDataset* identifiers = nullptr;
        c = DIMSE_receiveDataSetInMemory(&association, DIMSE_NONBLOCKING, secondsUntil(deadline), &rid, &identifiers,
                                         nullptr, nullptr);
        delete identifiers;
        if (c.bad()) return lost(c);
      }
      if (DICOM_PENDING_STATUS(status)) continue;
      if (progress.received) return answer(RetrieveOutcome::yes, {});
      if (!progress.refused.empty())
        return answer(RetrieveOutcome::no, context.endpoint + " sent " + progress.refused + " instead of the instance "
                                                                                            "asked for.");
      return answer(RetrieveOutcome::no, context.endpoint + " answered the C-GET of an instance it holds with status " +
                                             hex(status) +
                                             " and sent nothing: it may not allow " + quoted(context.callingAeTitle) +
                                             " to retrieve, or not send the instance's storage class on this "
                                             "association; check its configuration.");
    }
    if (reply.CommandField != DIMSE_C_STORE_RQ) return lost(DIMSE_BADCOMMANDTYPE);
    const T_DIMSE_C_StoreRQ store = reply.msg.CStoreRQ;
    const bool wanted = progress.instance == store.AffectedSOPInstanceUID;
    DcmDataset* data = nullptr;
    c = DIMSE_receiveDataSetInMemory(&association, DIMSE_NONBLOCKING, secondsUntil(deadline), &rid, &data,
                                     boundGetSize, &progress);
    delete data;  // never kept: only its arrival counts
    if (progress.exceeded) {
      sound = false;
      return answer(RetrieveOutcome::unknown, "The instance " + context.endpoint + " sent is larger than " +
                                                  std::to_string(check.maxInstanceBytes) +
                                                  " bytes; the check stopped receiving it.");
    }
    if (c.bad()) return lost(c);
    T_DIMSE_C_StoreRSP response{};
    response.MessageIDBeingRespondedTo = store.MessageID;
    response.DimseStatus = wanted ? STATUS_Success : STATUS_STORE_Refused_OutOfResources;
    OFStandard::strlcpy(response.AffectedSOPClassUID, store.AffectedSOPClassUID, sizeof response.AffectedSOPClassUID);
    OFStandard::strlcpy(response.AffectedSOPInstanceUID, store.AffectedSOPInstanceUID,
                        sizeof response.AffectedSOPInstanceUID);
    response.opts = O_STORE_AFFECTEDSOPCLASSUID | O_STORE_AFFECTEDSOPINSTANCEUID;
    if (c = DIMSE_sendStoreResponse(&association, rid, &store, &response, nullptr); c.bad()) return lost(c);
    if (wanted) progress.received = true;
    else progress.refused = "instance " + std::string(store.AffectedSOPInstanceUID);
  }
}

}  // namespace

OFCondition proposeRetrieve(T_ASC_Parameters* params, const RetrieveCheck& check, T_ASC_PresentationContextID firstId) {
  std::array<const char*, 2> syntaxes{UID_LittleEndianExplicitTransferSyntax, UID_LittleEndianImplicitTransferSyntax};
  const auto add = [&](const char* sopClass, T_ASC_SC_ROLE role) {
    const OFCondition c = ASC_addPresentationContext(params, firstId, sopClass, syntaxes.data(),
                                                     static_cast<int>(syntaxes.size()), role);
    firstId = static_cast<T_ASC_PresentationContextID>(firstId + 2);
    return c;
  };
  OFCondition c = add(check.move ? kStudyRootMove : kStudyRootGet, ASC_SC_ROLE_DEFAULT);
  if (check.move) return c;
  // Presentation context identifiers are odd numbers below 256.
  for (int i = 0; c.good() && i < numberOfDcmShortSCUStorageSOPClassUIDs && firstId < 255; ++i)
    c = add(dcmShortSCUStorageSOPClassUIDs[i], ASC_SC_ROLE_SCP);
  return c;
}

RetrieveAnswer checkRetrieve(T_ASC_Association& association, const RetrieveCheck& check, const EchoContext& context,
                             int peer, Deadline deadline, const std::function<bool()>& deadlinePassed, bool& sound) {
  auto found = findInstance(association, deadline, context, sound);
  if (auto* failure = std::get_if<RetrieveAnswer>(&found)) return std::move(*failure);
  const Found& instance = std::get<Found>(found);
  return check.move ? move(association, check, context, instance, peer, deadline, deadlinePassed, sound)
                    : get(association, check, context, instance, peer, deadline, deadlinePassed, sound);
}

}  // namespace telvor::dcmtk
