// The hypertext control: it shows one HTML file, keeps named values (macros), and has a command ready when its user
// follows a link or sends a form. All texts are GBK. Who shows the page to the user stands behind VeldView.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "export.h"
#include "windows/hypermessages.h"
#include "windows/windowsystem.h"

namespace karst {

struct VeldMacro {
  std::string value;
  uint64_t setting = 0;  // the control's count of settings when the script set it; 0: only the user entered it
};
using VeldMacros = std::map<std::string, VeldMacro, std::less<>>;

struct VeldField {
  std::string name;
  std::string value;
};

class VeldControl;

// Shows the pages of controls. It is told on the thread that sends the control its messages.
class KARST_API VeldView {
 public:
  virtual ~VeldView() = default;
  virtual void OnCreated(VeldControl& control) = 0;
  // Another file is shown, or a macro has another value.
  virtual void OnPage(const VeldControl& control) = 0;
  virtual void OnPrint(const VeldControl& control) = 0;
};

class KARST_API VeldControl : public Window {
 public:
  // `view` may be null and outlives the control.
  explicit VeldControl(VeldView* view) : view_(view) {}
  // Answers the messages of a hypertext control (windows/hypermessages.h) and 0 to all others:
  //   kGetCommand    the length of what was copied, cut at a whole character
  //   kShowFile      0, or -1 if the file cannot be read; the page shown then says so
  //   kSetMacro      0, or -1 for an empty name
  //   kPrint         0, or -1 while no file is shown; the flag has no effect
  //   kGetMacro      the length of what was copied, cut at a whole character; -1 without such a macro
  //   kUserCommand   0
  MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override;

  // The page as it is to be shown: the file, with each {{name}} replaced by the macro's value where there is one. An
  // ASCII byte of a value that is no letter and no digit stands as a character reference, so that a value can neither
  // open a tag nor leave an attribute, also one without quotes. A file that cannot be read has a page that says so.
  std::string Page() const;
  // Counts the files shown, from 1; 0 before the first.
  uint32_t PageNumber() const { return page_number_; }
  // The window that the control stands in; null ahead of its creation.
  HWND Frame() const { return frame_; }
  // The folder of the file shown, as the file system knows it.
  const std::string& Folder() const { return folder_; }
  const VeldMacros& Macros() const { return macros_; }

  // What the user does. A target that begins with "karst:" (in any case) makes the text behind the colon the command
  // and tells the frame; any other gives false and changes nothing.
  bool FollowLink(std::string_view target);
  // The same with the form's fields as a query: name=value, between "?" (or the target's own) and "&". Of names and
  // values, the bytes that would be taken for something else ("&", "=", "?", "#", "%", "+", control characters) stand
  // as "%" and two hexadecimal digits.
  bool SendForm(std::string_view target, const std::vector<VeldField>& fields);
  // A field of the page has this value now.
  // LIMIT: kMostMacros names; a further one is dropped.
  void EnterField(std::string_view name, std::string_view value);

  static constexpr size_t kMostMacros = 10'000;
  static constexpr int64_t kMostPageBytes = 16 << 20;  // LIMIT: a longer file counts as one that cannot be read

 private:
  MessageLong ShowFile(const char* name);
  MessageLong SetMacro(const MacroSetting& macro);
  MessageLong GetMacro(const MacroRequest& wanted) const;
  MessageLong Print();
  void Created(const Creation& creation);
  void Report(std::string command, int code);

  VeldView* view_;
  HWND self_ = nullptr;
  HWND frame_ = nullptr;
  std::string file_bytes_;
  std::string folder_;
  std::string command_;
  VeldMacros macros_;
  uint32_t page_number_ = 0;
  uint64_t settings_ = 0;
};

// UTF-8 as GBK; a character without a place there becomes "&#N;" with its decimal code point, a byte that is no UTF-8
// a question mark.
KARST_API std::string GbkWithReferences(std::string_view utf8);

}  // namespace karst
