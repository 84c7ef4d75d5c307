// Where the bytes of a record file come from: a file of the file layer; what gzip has compressed; text in another
// charset than UTF-8. Each stands on the one before it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "records/bytewindow.h"
#include "text/bytestring.h"

namespace karst::cli {

// What the reader of a chain of sources wants to know when the sources themselves are gone.
struct SourceState {
  uint64_t size = 0;      // bytes of the file, 0 where it is not known
  uint64_t position = 0;  // bytes of it that were read; of what is compressed, those that were used
  bool compressed = false;
  std::string fault;  // why a read failed, in UTF-8
};
using SharedSourceState = std::shared_ptr<SourceState>;

// `name` is GBK. Null if it is no file that can be read; the fault then says why, as far as the system says.
std::unique_ptr<ByteSource> OpenFileSource(const CString& name, const SharedSourceState& state);

// `bytes` have to outlive it.
std::unique_ptr<ByteSource> MakeMemorySource(std::string_view bytes);

// Gives the first bytes of another source without taking them from it.
class PeekSource : public ByteSource {
 public:
  explicit PeekSource(std::unique_ptr<ByteSource> source) : source_(std::move(source)) {}
  // Reads on until there are `count` bytes, or no more. False if the source fails; Read does, then, after what there
  // is.
  bool Peek(size_t count);
  const std::string& Head() const { return head_; }
  int64_t Read(char* target, size_t count) override;

 private:
  std::unique_ptr<ByteSource> source_;
  std::string head_;
  size_t given_ = 0;
  bool ended_ = false;
  bool failed_ = false;
};

bool LooksCompressed(std::string_view head);

// Uncompresses; several compressed stretches may follow one another. Damage, a missing end and other bytes
// after the end are failures, after all that could be read in front of them. Damage may show later than where it is,
// by the checksum at the end of its stretch at the latest, and what is read up to there may be wrong.
std::unique_ptr<ByteSource> MakeGzipSource(std::unique_ptr<ByteSource> source, const SharedSourceState& state);

// Text of `charset` in UTF-8. Null if the system does not know the charset. Bytes that do not belong to it are a
// failure.
std::unique_ptr<ByteSource> MakeTextSource(std::unique_ptr<ByteSource> source, const std::string& charset,
                                           const SharedSourceState& state);

}  // namespace karst::cli
