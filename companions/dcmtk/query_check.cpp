#include "query_check.hpp"

#include <array>
#include <cstdio>
#include <memory>

#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmnet/dimse.h"
#include "dcmtk/ofstd/ofstd.h"

namespace telvor::dcmtk {
namespace {

// A study instance UID no study carries: the UUID-derived UID of the nil UUID.
constexpr const char* kNoSuchStudy = "2.25.0";

struct FindStatus {
  unsigned code;
  unsigned mask;  // the bits that identify the status
  const char* meaning;
};

constexpr std::array<FindStatus, 5> kFindStatuses{{
    {0xA700, 0xFFFF, "refused: out of resources"},
    {0xA900, 0xFFFF, "the query does not match the SOP class"},
    {0x0122, 0xFFFF, "SOP class not supported"},
    {0xFE00, 0xFFFF, "cancelled"},
    {0xC000, 0xF000, "unable to process"},
}};

std::string statusText(unsigned status) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%04X", status);
  for (const auto& row : kFindStatuses)
    if ((status & row.mask) == row.code) return std::string(code) + " (" + row.meaning + ")";
  return code;
}

std::string callingTitle(const EchoContext& context) { return "\"" + std::string(context.callingAeTitle) + "\""; }

void ignoreMatches(void*, T_DIMSE_C_FindRQ*, int, T_DIMSE_C_FindRSP*, DcmDataset*) {}

QueryAnswer answer(QueryOutcome outcome, std::string reason) { return {outcome, std::move(reason)}; }

}  // namespace

QueryAnswer checkQuery(T_ASC_Association& association, const EchoContext& context,
                       const std::function<int()>& secondsLeft, const std::function<bool()>& deadlinePassed,
                       bool& sound) {
  const T_ASC_PresentationContextID id = ASC_findAcceptedPresentationContextID(&association, kStudyRootFind);
  if (id == 0)
    return answer(QueryOutcome::refused, context.endpoint + " does not offer Study Root C-FIND to AE title " +
                                             callingTitle(context) +
                                             " (it did not accept the query service when the association was set "
                                             "up): the peer may not know this AE title as one allowed to query.");
  DcmDataset query;
  query.putAndInsertString(DCM_QueryRetrieveLevel, "STUDY");
  query.putAndInsertString(DCM_StudyInstanceUID, kNoSuchStudy);
  T_DIMSE_C_FindRQ request{};
  request.MessageID = association.nextMsgID++;
  OFStandard::strlcpy(request.AffectedSOPClassUID, kStudyRootFind, sizeof request.AffectedSOPClassUID);
  request.Priority = DIMSE_PRIORITY_MEDIUM;
  request.DataSetType = DIMSE_DATASET_PRESENT;
  T_DIMSE_C_FindRSP response{};
  DcmDataset* detail = nullptr;
  int responses = 0;
  const OFCondition c = DIMSE_findUser(&association, id, &request, &query, responses, ignoreMatches, nullptr,
                                       DIMSE_NONBLOCKING, secondsLeft(), &response, &detail);
  delete detail;
  if (c.bad()) {
    sound = false;
    if (deadlinePassed() || c == DIMSE_NODATAAVAILABLE || c == DUL_READTIMEOUT)
      return answer(QueryOutcome::failed,
                    context.endpoint + " did not answer the C-FIND within " + context.timeoutText + ".");
    if (c == DUL_PEERABORTEDASSOCIATION || c == DUL_NETWORKCLOSED)
      return answer(QueryOutcome::refused, context.endpoint + " refused the query: it closed the association "
                                               "instead of answering the C-FIND. It most likely does not know "
                                               "this computer's AE title " + callingTitle(context) +
                                               "; add that AE title, with this computer's address, to the "
                                               "peer's list of peers allowed to query.");
    return answer(QueryOutcome::failed, "The C-FIND to " + context.endpoint + " failed (" + c.text() + ").");
  }
  if (response.DimseStatus != STATUS_Success)
    return answer(QueryOutcome::refused, context.endpoint + " refused the query from AE title " +
                                             callingTitle(context) + ": it answered the C-FIND with status " +
                                             statusText(response.DimseStatus) + ".");
  return answer(QueryOutcome::answered, {});
}

}  // namespace telvor::dcmtk
