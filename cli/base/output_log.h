// What an engine writes while it is not its turn, kept in order.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace karst::cli {

class OutputLog {
 public:
  enum class Kind : uint8_t {
    kControl,         // a text for the output control
    kStdOut,          // the stream "stdout"
    kNamed,           // a text for the file `name`
    kNamedConverted,  // the same in a charset of the script's own
    kNamedRefused,    // such a text that was refused, and said to be; without its bytes
    kShown,           // lines for standard error
    kNotice,          // a line for standard error that is shown once for each `name`
    kBox,             // a message box
  };
  struct Entry {
    Kind kind;
    std::string_view name;
    std::string_view bytes;
  };

  // Texts that go to the same place one after the other become one entry; boxes and notices stay apart.
  void Add(Kind kind, std::string_view bytes, std::string_view name = {});
  // Gives every entry in the order of writing.
  void ForEach(const std::function<void(const Entry&)>& use) const;
  // Memory of a usual size is kept for what comes next.
  void Clear();
  // From here on nothing is kept.
  void Discard() { discards_ = true; }

 private:
  struct Place {
    Kind kind;
    uint32_t name;  // in names_
    size_t end;     // in bytes_
  };

  uint32_t NumberOf(std::string_view name);

  std::string bytes_;
  std::vector<Place> places_;
  std::vector<std::string> names_;
  bool discards_ = false;
};

}  // namespace karst::cli
