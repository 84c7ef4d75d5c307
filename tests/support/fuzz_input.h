// The bytes of a fuzzed input, taken from the front; after the end there are none, and numbers are 0.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace karst::testing {

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  bool IsEmpty() const { return rest_.empty(); }
  std::string Bytes(size_t count) {
    std::string bytes(rest_.substr(0, count));
    rest_.remove_prefix(bytes.size());
    return bytes;
  }
  uint8_t Byte() { return Value<uint8_t>(); }
  template <typename Number>
  Number Value() {
    const std::string bytes = Bytes(sizeof(Number));
    Number value = 0;
    std::memcpy(&value, bytes.data(), bytes.size());
    return value;
  }
  // A text with a length of two bytes before it.
  std::string Text() { return Bytes(Value<uint16_t>()); }
  std::string Rest() { return Bytes(rest_.size()); }

 private:
  std::string_view rest_;
};

// What must hold in a harness.
inline void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace karst::testing
