// Where the reading of a record file stands.
#pragma once

#include <cstdint>

namespace karst::cli {

struct ReadState {
  uint64_t records = 0;       // given
  uint64_t passed_over = 0;   // stretches
  uint64_t passed_bytes = 0;  // bytes in these
  uint64_t repaired = 0;      // records given after a repair
  uint64_t position = 0;      // bytes of the file
};

}  // namespace karst::cli
