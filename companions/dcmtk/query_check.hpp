// Whether a peer answers queries (internal): one Study Root C-FIND at study level for a
// study that cannot exist, on an association that already carried the echo.
#pragma once

#include <functional>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmnet/assoc.h"
#include "echo_reasons.hpp"

namespace telvor::dcmtk {

// Study Root Query/Retrieve Information Model - FIND.
inline constexpr const char* kStudyRootFind = "1.2.840.10008.5.1.4.1.2.2.1";

// The peer's answer to the C-FIND. `secondsLeft` gives DCMTK's wait for each read;
// `deadlinePassed` tells whether a failure came from the probe's deadline. `sound` is set
// to false when the association cannot be released any more.
QueryAnswer checkQuery(T_ASC_Association& association, const EchoContext& context,
                       const std::function<int()>& secondsLeft, const std::function<bool()>& deadlinePassed,
                       bool& sound);

}  // namespace telvor::dcmtk
