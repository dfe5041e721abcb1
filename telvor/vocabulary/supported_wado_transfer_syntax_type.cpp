#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"
