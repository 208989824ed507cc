// Power: the supplies and the backup battery, and the power of this controller board.
#include "test_helpers.h"

namespace {

using bspsim::Op, bsptest::PrintTo;

// ------------------------------------------------------------------ supplies and battery

// ------------------------------------------------------------------------- board power

}  // namespace
