// Fuzzes the reader of compressed files. Bytes that were compressed, in several stretches, come back whole; where one
// byte is changed or the end is cut off, what stands before the damage still comes, and then a failure unless all came;
// any bytes may follow. The portions in which the file comes must not matter.
#include <zlib.h>

#include <algorithm>
#include <string>

#include "cli/records/byte_sources.h"
#include "support/fuzz_input.h"
#include "support/record_run.h"

namespace {

using namespace karst::cli;
using karst::testing::Require;

std::string Packed(const std::string& bytes, int level) {
  constexpr int kGzip = 16 + MAX_WBITS;
  z_stream stream{};
  Require(deflateInit2(&stream, level, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY) == Z_OK);
  std::string packed(deflateBound(&stream, bytes.size()) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  Require(deflate(&stream, Z_FINISH) == Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

struct Result {
  std::string bytes;
  bool failed = false;
  bool operator==(const Result&) const = default;
};

Result Unpacked(const std::string& packed, size_t portion, size_t room) {
  const auto state = std::make_shared<SourceState>();
  const auto source = MakeGzipSource(std::make_unique<karst::testing::MemorySource>(packed, portion), state);
  Result result;
  std::string part(room, '\0');
  int64_t read = 0;
  while ((read = source->Read(part.data(), room)) > 0) result.bytes.append(part, 0, static_cast<size_t>(read));
  result.failed = read < 0;
  Require(result.failed != state->fault.empty());
  return result;
}

}  // namespace

// Three bytes say where the damage is and of which kind, one where the bytes are parted and how much they are
// compressed.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kHead = 4;
  if (size < kHead) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data) + kHead, size - kHead);
  const size_t parted = bytes.size() * (data[3] >> 4) / 16;
  const int level = data[3] % 10;
  const std::string packed = Packed(bytes.substr(0, parted), level) + Packed(bytes.substr(parted), level);
  Require(Unpacked(packed, SIZE_MAX, 1000) == Result{bytes});

  const size_t at = (data[0] * size_t{256} + data[1]) % packed.size();
  const std::string before = Unpacked(packed.substr(0, at), SIZE_MAX, 1000).bytes;
  std::string damaged = packed;
  damaged[at] = static_cast<char>(damaged[at] ^ data[2]);
  if (data[2] == 0) damaged.resize(at);
  const Result found = Unpacked(damaged, SIZE_MAX, 1000);
  Require(found.bytes.starts_with(before) && (found.failed || bytes.starts_with(found.bytes)));
  Require(found == Unpacked(damaged, 1, 7));

  const Result any = Unpacked(bytes, SIZE_MAX, 1000);
  Require(any == Unpacked(bytes, 1, 7));
  return 0;
}
