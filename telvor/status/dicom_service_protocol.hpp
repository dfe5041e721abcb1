// DicomServiceProtocol: the DICOM services an application performs against its nodes,
// declared here so that the application's views and tools can share one shape. The
// application implements it (over DCMTK, its own network stack, or a test double); the
// library neither implements nor calls it, and gives none of its operations a default.
//
//   class DcmtkServices final : public telvor::DicomServiceProtocol {
//    public:
//     telvor::DicomNodeStatus verify(const telvor::DicomNode& node) override {
//       return echo(node) ? telvor::DicomNodeStatus::accessable()
//                         : telvor::DicomNodeStatus::inaccessible(lastError());
//     }
//     ...
//   };
//
// Threads, timeouts, cancellation and errors are the implementation's: an operation may
// block, and may throw the implementation's own exceptions.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/status/dicom_node_status.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

struct DicomNode;  // telvor/node/dicom_node.hpp

// DICOM attributes by keyword, for a query's keys and for each of its matches:
// {{"PatientName", "DOE^J*"}, {"StudyInstanceUID", ""}}. An empty value asks the node to
// return that attribute.
using DicomAttributes = std::map<std::string, std::string, std::less<>>;

class TELVOR_API DicomServiceProtocol {
 public:
  virtual ~DicomServiceProtocol();

  // Verification (C-ECHO): whether `node` answers now; inaccessible with why when not.
  virtual DicomNodeStatus verify(const DicomNode& node) = 0;

  // Query (C-FIND): the matches `node` reports for `keys`, each with the attributes asked
  // for, in the order the node sent them.
  virtual std::vector<DicomAttributes> query(const DicomNode& node, const DicomAttributes& keys) = 0;

  // Retrieval of the study `studyInstanceUID` by the node's retrieve mode (C-MOVE, C-GET
  // or WADO with its WADO settings); the node's status once it is done.
  virtual DicomNodeStatus retrieve(const DicomNode& node, std::string_view studyInstanceUID) = 0;

 protected:
  DicomServiceProtocol() = default;
  DicomServiceProtocol(const DicomServiceProtocol&) = default;
  DicomServiceProtocol& operator=(const DicomServiceProtocol&) = default;
};

}  // namespace telvor
