#include "storage_listener.hpp"

#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <chrono>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcuid.h"
#include "dcmtk/dcmnet/assoc.h"
#include "dcmtk/dcmnet/dimse.h"
#include "dcmtk/dcmnet/dcmtrans.h"
#include "dcmtk/dcmnet/dul.h"
#include "socket_handover.hpp"

namespace telvor::dcmtk {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// The numeric address of a socket's peer, IPv4-mapped IPv6 addresses written as IPv4.
std::string peerAddress(int fd) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (::getpeername(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
  std::array<char, NI_MAXHOST> host{};
  if (::getnameinfo(reinterpret_cast<sockaddr*>(&address), length, host.data(), host.size(), nullptr, 0,
                    NI_NUMERICHOST) != 0)
    return {};
  std::string text(host.data());
  if (text.rfind("::ffff:", 0) == 0 && text.find('.') != std::string::npos) text.erase(0, 7);
  return text;
}

int secondsLeft(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::seconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::max<std::int64_t>(left, 1));
}

struct SizeBound {
  int fd;
  std::uint64_t maxBytes;
  bool exceeded = false;
};

// Called as the data set arrives: past the bound, the connection is shut down, which ends
// the receive.
void boundSize(void* context, unsigned long bytes) {
  auto& bound = *static_cast<SizeBound*>(context);
  if (bytes > bound.maxBytes && !bound.exceeded) {
    bound.exceeded = true;
    ::shutdown(bound.fd, SHUT_RDWR);
  }
}

// The plain transport layer, remembering the socket of the connection it made last: the
// listener's one thread reads it right after accepting.
class RecordingLayer final : public DcmTransportLayer {
 public:
  DcmTransportConnection* createConnection(DcmNativeSocketType socket, OFBool secure) override {
    last_ = socket;
    return DcmTransportLayer::createConnection(socket, secure);
  }
  int last() const noexcept { return static_cast<int>(last_); }

 private:
  DcmNativeSocketType last_ = -1;
};

}  // namespace

struct StorageListener::Net {
  RecordingLayer layer;
  T_ASC_Network* network = nullptr;
};

std::set<std::string> trustedAddresses(int fd, const std::vector<std::string>& names) {
  std::set<std::string> addresses;
  if (auto peer = peerAddress(fd); !peer.empty()) addresses.insert(peer);
  for (const auto& name : names) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    std::string host = name;
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) continue;
    for (const addrinfo* a = list; a != nullptr; a = a->ai_next) {
      std::array<char, NI_MAXHOST> text{};
      if (::getnameinfo(a->ai_addr, a->ai_addrlen, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) == 0)
        addresses.insert(text.data());
    }
    ::freeaddrinfo(list);
  }
  return addresses;
}

StorageListener::StorageListener(std::uint16_t port, std::set<std::string> allowed, std::string instanceUid,
                                 std::uint64_t maxBytes, Deadline deadline)
    : net_(std::make_unique<Net>()), port_(port), allowed_(std::move(allowed)), instanceUid_(std::move(instanceUid)),
      maxBytes_(maxBytes), deadline_(deadline) {
  if (const OFCondition c = ASC_initializeNetwork(NET_ACCEPTOR, port_, secondsLeft(deadline_), &net_->network);
      c.bad()) {
    failure_ = "this computer cannot listen on port " + std::to_string(port_) + " (" + c.text() +
               "): the port may be in use by another program";
    return;
  }
  if (const OFCondition c = ASC_setTransportLayer(net_->network, &net_->layer, 0); c.bad()) {
    failure_ = "the listener cannot be set up (" + std::string(c.text()) + ")";
    return;
  }
  thread_ = std::thread([this] { run(); });
}

StorageListener::~StorageListener() {
  stop();
  if (net_->network != nullptr) ASC_dropNetwork(&net_->network);
}

void StorageListener::stop() {
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
}

std::vector<std::string> StorageListener::refusals() const {
  const std::lock_guard lock(mutex_);
  return refusals_;
}

void StorageListener::refuse(std::string what) {
  const std::lock_guard lock(mutex_);
  refusals_.push_back(std::move(what));
}

void StorageListener::run() {
  while (!stopping_ && Clock::now() < deadline_) {
    if (!ASC_associationWaiting(net_->network, 0)) {
      std::this_thread::sleep_for(20ms);
      continue;
    }
    T_ASC_Association* association = nullptr;
    OFCondition c = ASC_receiveAssociation(net_->network, &association, ASC_DEFAULTMAXPDU, nullptr, nullptr, OFFalse,
                                           DUL_NOBLOCK, secondsLeft(deadline_));
    if (c.bad()) {
      if (association != nullptr) ASC_destroyAssociation(&association);
      continue;
    }
    const int fd = net_->layer.last();
    const std::string from = peerAddress(fd);
    const std::string caller = association->params->DULparams.callingAPTitle;
    if (allowed_.count(from) == 0) {
      refuse("an association from " + from + " (AE title \"" + caller + "\"), which is not the probed peer's address");
      T_ASC_RejectParameters reject{ASC_RESULT_REJECTEDPERMANENT, ASC_SOURCE_SERVICEUSER, ASC_REASON_SU_NOREASON};
      ASC_rejectAssociation(association, &reject);
      ASC_dropAssociation(association);
      ASC_destroyAssociation(&association);
      continue;
    }
    std::array<const char*, 3> syntaxes{UID_LittleEndianExplicitTransferSyntax,
                                              UID_LittleEndianImplicitTransferSyntax,
                                              UID_BigEndianExplicitTransferSyntax};
    c = ASC_acceptContextsWithPreferredTransferSyntaxes(association->params, dcmAllStorageSOPClassUIDs,
                                                        numberOfDcmAllStorageSOPClassUIDs, syntaxes.data(),
                                                        static_cast<int>(syntaxes.size()));
    if (c.good()) c = ASC_acknowledgeAssociation(association);
    const Watchdog watchdog(fd, deadline_);
    bool open = c.good();
    while (open) {
      T_ASC_PresentationContextID id = 0;
      T_DIMSE_Message message{};
      c = DIMSE_receiveCommand(association, DIMSE_NONBLOCKING, secondsLeft(deadline_), &id, &message, nullptr);
      if (c == DUL_PEERREQUESTEDRELEASE) {
        ASC_acknowledgeRelease(association);
        break;
      }
      if (c.bad() || message.CommandField != DIMSE_C_STORE_RQ) {
        open = false;
        break;
      }
      const T_DIMSE_C_StoreRQ request = message.msg.CStoreRQ;
      if (instanceUid_ != request.AffectedSOPInstanceUID) {
        refuse("instance " + std::string(request.AffectedSOPInstanceUID) + ", which was not asked for");
        open = false;
        break;
      }
      SizeBound bound{fd, maxBytes_};
      DcmDataset* data = nullptr;
      c = DIMSE_receiveDataSetInMemory(association, DIMSE_NONBLOCKING, secondsLeft(deadline_), &id, &data, boundSize,
                                       &bound);
      delete data;  // never kept: only its arrival counts
      if (bound.exceeded) refuse("the instance, larger than " + std::to_string(maxBytes_) + " bytes");
      if (c.bad()) {
        open = false;
        break;
      }
      T_DIMSE_C_StoreRSP response{};
      response.MessageIDBeingRespondedTo = request.MessageID;
      response.DimseStatus = STATUS_Success;
      OFStandard::strlcpy(response.AffectedSOPClassUID, request.AffectedSOPClassUID,
                          sizeof response.AffectedSOPClassUID);
      OFStandard::strlcpy(response.AffectedSOPInstanceUID, request.AffectedSOPInstanceUID,
                          sizeof response.AffectedSOPInstanceUID);
      response.opts = O_STORE_AFFECTEDSOPCLASSUID | O_STORE_AFFECTEDSOPINSTANCEUID;
      if (DIMSE_sendStoreResponse(association, id, &request, &response, nullptr).good()) received_ = true;
    }
    if (!open) ASC_abortAssociation(association);
    ASC_dropSCPAssociation(association);
    ASC_destroyAssociation(&association);
  }
}

}  // namespace telvor::dcmtk
