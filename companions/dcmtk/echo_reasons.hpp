// The reasons an echo gives, worded for the person who configures the node (internal).
//
// Each function turns what DCMTK reported at one step of the echo into an EchoResult whose
// reason says what happened and what to do about it.
#pragma once

#include <string>
#include <string_view>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmnet/assoc.h"
#include "dcmtk/ofstd/ofcond.h"
#include "telvor/dcmtk/echo.hpp"

namespace telvor::dcmtk {

struct EchoContext {
  const EchoTarget& target;
  std::string_view callingAeTitle;
  std::string timeoutText;  // the time allowed, as reasons show it ("2 s")
  std::string endpoint;     // "address:port", an IPv6 address in brackets
};

// A failed association request: TLS down, rejected, no answer...
// `params` is the request's parameters (for the rejection's reasons).
EchoResult associationFailure(const OFCondition& condition, T_ASC_Parameters* params, const EchoContext& context);

// The peer accepted the association but none of its presentation contexts.
EchoResult verificationRefused(const EchoContext& context);

// The C-ECHO itself failed, or was answered with a status other than Success.
EchoResult echoExchangeFailure(const OFCondition& condition, const EchoContext& context);
EchoResult echoStatusFailure(unsigned status, const EchoContext& context);

// This side's set-up failed before anything was sent: "WHAT (DCMTK's text): ADVICE."
EchoResult localFailure(std::string_view what, const OFCondition& condition, std::string_view advice = {});

// The peer's name in reasons: "address:port", or "[IPv6 address]:port".
std::string endpointOf(const EchoTarget& target);

}  // namespace telvor::dcmtk
