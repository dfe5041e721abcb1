#include "telvor/vocabulary/association_number_type.hpp"
