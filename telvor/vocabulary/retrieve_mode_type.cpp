#include "telvor/vocabulary/retrieve_mode_type.hpp"
