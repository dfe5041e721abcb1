#include "telvor/vocabulary/tls_security_profile.hpp"
