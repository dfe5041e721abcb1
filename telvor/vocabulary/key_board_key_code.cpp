#include "telvor/vocabulary/key_board_key_code.hpp"
