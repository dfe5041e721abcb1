// Whether retrieving from a peer works (internal): one instance found by C-FIND and
// retrieved by C-MOVE (to a storage listener of this side's own) or C-GET, on an
// association that already carried the echo.
#pragma once

#include <functional>

#include "connection.hpp"
#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmnet/assoc.h"
#include "echo_reasons.hpp"

namespace telvor::dcmtk {

// Study Root Query/Retrieve Information Model - MOVE and GET.
inline constexpr const char* kStudyRootMove = "1.2.840.10008.5.1.4.1.2.2.2";
inline constexpr const char* kStudyRootGet = "1.2.840.10008.5.1.4.1.2.2.3";

// Adds the presentation contexts the check needs, from `firstId` on (odd numbers): the
// retrieve service, and for C-GET the storage classes this side takes in the SCP role.
OFCondition proposeRetrieve(T_ASC_Parameters* params, const RetrieveCheck& check, T_ASC_PresentationContextID firstId);

// The check's answer. `peer` is the connection to the peer (its address is the one the
// listener trusts); `sound` is set to false when the association cannot be released.
RetrieveAnswer checkRetrieve(T_ASC_Association& association, const RetrieveCheck& check, const EchoContext& context,
                             int peer, Deadline deadline, const std::function<bool()>& deadlinePassed, bool& sound);

}  // namespace telvor::dcmtk
