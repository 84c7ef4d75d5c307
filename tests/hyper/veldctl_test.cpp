// The hypertext control: what a page becomes with its macros, what links and forms come to, what the messages answer.
#include "hyper/veldctl.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>
#include <vector>

#include "support/builtin_call.h"
#include "support/temp_folder.h"

namespace karst {
namespace {

using testing::MakeFile;

// Keeps the code and the text of each command that the control tells it of.
class Parent : public Window {
 public:
  MessageLong OnMessage(unsigned message, MessageWord w, MessageLong l) override {
    if (message != kCommand || (w & 0xFFFF) != kHyperControlId) return 0;
    char text[kHyperTextRoom];
    SendMessage(reinterpret_cast<HWND>(l), kGetCommand, sizeof text, reinterpret_cast<MessageLong>(text));
    commands.push_back(std::to_string(w >> 16) + " " + text);
    return 0;
  }
  std::vector<std::string> commands;
};

class Veldctl : public ::testing::Test, public VeldView {
 protected:
  Veldctl() {
    auto parent = std::make_unique<Parent>();
    parent_ = parent.get();
    frame_ = AddWindow(std::move(parent));
    auto control = std::make_unique<VeldControl>(this);
    control_ = control.get();
    self_ = AddWindow(std::move(control), frame_, kHyperControlId);
    const WindowPlan plan{kHyperControlClass, "", 0, 0, {}, frame_, kHyperControlId};
    Creation creation{nullptr, self_, &plan};
    SendMessage(self_, kCreate, 0, reinterpret_cast<MessageLong>(&creation));
  }
  ~Veldctl() override { DestroyWindow(frame_); }

  void OnCreated(VeldControl&) override {}
  void OnPage(const VeldControl&) override { ++pages_told_; }
  void OnPrint(const VeldControl&) override { ++prints_told_; }

  MessageLong Send(unsigned message, const void* what = nullptr) {
    return SendMessage(self_, message, 0, reinterpret_cast<MessageLong>(what));
  }
  MessageLong Show(const std::string& bytes) {
    MakeFile("page.html", bytes);
    return Send(kShowFile, "page.html");
  }
  MessageLong Set(const char* name, const char* value) {
    const MacroSetting setting{name, value};
    return Send(kSetMacro, &setting);
  }
  // The answer and what the buffer then holds, which is "-" before.
  std::string Get(const char* name, int32_t room = kHyperTextRoom) {
    char buffer[kHyperTextRoom] = "-";
    const MacroRequest request{name, buffer, room};
    const MessageLong answer = Send(kGetMacro, &request);
    return std::to_string(answer) + " " + buffer;
  }
  std::string LastCommand() const { return parent_->commands.empty() ? "" : parent_->commands.back(); }

  testing::TempFolder folder_;
  Parent* parent_ = nullptr;
  VeldControl* control_ = nullptr;
  HWND frame_ = nullptr;
  HWND self_ = nullptr;
  int pages_told_ = 0;
  int prints_told_ = 0;
};

TEST_F(Veldctl, AMacroStandsInThePageAsTextAndNeverAsMarkup) {
  Set("题名", "红楼梦");
  Set("evil", "\"><script>'x y");
  Set("again", "{{题名}}");
  Set("cut", "红\xBA");
  const std::pair<std::string, std::string> cases[] = {
      {"<p>{{题名}}</p>{{题名}}", "<p>红楼梦</p>红楼梦"},
      {"<a href={{evil}}>", "<a href=&#34;&#62;&#60;script&#62;&#39;x&#32;y>"},
      {"{{again}}", "&#123;&#123;题名&#125;&#125;"},
      {"{{cut}}abc", "红?abc"},
      {"{{none}} {{}} {{题名", "{{none}} {{}} {{题名"},
      {"{{{题名}}}", "{红楼梦}"},
      {"{{题\n名}} {{题名 }}", "{{题\n名}} {{题名 }}"},
      // The second byte of a character may look like a brace.
      {"\x81{{题名}}", "\x81{{题名}}"},
      {"\x81{{{题名}}", "\x81{红楼梦"},
      {"{{题名\x81}}", "{{题名\x81}}"},
      {std::string("a\0{{题名}}", 10), std::string("a\0红楼梦", 8)},
      {"", ""},
  };
  for (const auto& [file, page] : cases) {
    EXPECT_EQ(Show(file), 0) << file;
    EXPECT_EQ(control_->Page(), page) << file;
  }
}

TEST_F(Veldctl, AFileThatCannotBeReadHasAPageThatNamesIt) {
  ASSERT_EQ(Show("old"), 0);
  std::filesystem::create_directory("folder");
  for (const char* name : {"no<b>ne.html", "folder", ""}) {
    EXPECT_EQ(Send(kShowFile, name), -1) << name;
    EXPECT_EQ(control_->Page().find("<b>"), std::string::npos);
    EXPECT_NE(control_->Page().find("无法显示"), std::string::npos);
    EXPECT_EQ(control_->Folder(), "") << "nothing beside it is to be had";
  }
  EXPECT_EQ(Send(kShowFile), -1);
  EXPECT_NE(control_->Page().find("无法显示"), std::string::npos);
  std::filesystem::resize_file("page.html", VeldControl::kMostPageBytes + 1);
  EXPECT_EQ(Send(kShowFile, "page.html"), -1);
  EXPECT_EQ(pages_told_, 6);
  EXPECT_EQ(control_->PageNumber(), 6u);
}

TEST_F(Veldctl, TheFolderIsThatOfTheFile) {
  std::filesystem::create_directory("folder");
  MakeFile("folder/page.html", "x");
  MakeFile("page.html", "x");
  const std::string whole = folder_.path().string() + "/folder";
  const std::pair<std::string, std::string> cases[] = {{"folder\\page.html", "folder"},
                                                       {"folder/page.html", "folder"},
                                                       {whole + "/page.html", whole},
                                                       {"page.html", "."}};
  for (const auto& [name, folder] : cases) {
    EXPECT_EQ(Send(kShowFile, name.c_str()), 0) << name;
    EXPECT_EQ(control_->Folder(), folder);
  }
}

TEST_F(Veldctl, MessagesAnswerAndCutAtAWholeCharacter) {
  EXPECT_EQ(Send(kPrint), -1) << "nothing is shown yet";
  Show("{{a}}");
  EXPECT_EQ(Send(kPrint), 0);
  EXPECT_EQ(prints_told_, 1);
  EXPECT_EQ(Get("a"), "-1 -");
  EXPECT_EQ(Send(kSetMacro), -1);
  EXPECT_EQ(Send(kGetMacro), -1);
  EXPECT_EQ(Set("", "x"), -1);
  EXPECT_EQ(Set(nullptr, "x"), -1);
  EXPECT_EQ(Set("a", nullptr), 0);
  EXPECT_EQ(Get("a"), "0 ");
  EXPECT_EQ(Set("a", "a红楼"), 0);
  EXPECT_EQ(pages_told_, 3);
  const std::pair<int32_t, std::string> cuts[] = {{6, "5 a红楼"}, {5, "3 a红"}, {4, "3 a红"}, {3, "1 a"},
                                                  {2, "1 a"},     {1, "0 "},    {0, "0 -"},   {-5, "0 -"}};
  for (const auto& [room, got] : cuts) EXPECT_EQ(Get("a", room), got) << room;
  std::string longest = "x";
  for (int i = 0; i < 3000; ++i) longest += "红";
  Set("a", longest.c_str());
  EXPECT_EQ(Get("a"), "4095 " + longest.substr(0, 4095));
}

TEST_F(Veldctl, WhatTheUserEntersIsReadBackAndTheScriptsSettingIsNewer) {
  control_->EnterField("a", "typed");
  control_->EnterField("", "nobody");
  EXPECT_EQ(Get("a"), "5 typed");
  EXPECT_EQ(Get(""), "-1 -");
  EXPECT_EQ(control_->Macros().at("a").setting, 0u);
  Set("a", "set");
  Set("b", "set");
  EXPECT_LT(control_->Macros().at("a").setting, control_->Macros().at("b").setting);
  for (size_t i = 0; i < VeldControl::kMostMacros; ++i) control_->EnterField(std::to_string(i), "x");
  EXPECT_EQ(control_->Macros().size(), VeldControl::kMostMacros);
  control_->EnterField("a", std::string_view("cut\0off", 7));
  EXPECT_EQ(Get("a"), "3 cut") << "a known name is there for good";
}

TEST_F(Veldctl, LinksAndFormsBecomeCommands) {
  const std::tuple<std::string, std::vector<VeldField>, std::string> cases[] = {
      {"karst:open?n=5", {}, "4 open?n=5"},
      {"KARST:查找", {{"题名", "红楼梦 A"}}, "4 查找?题名=红楼梦 A"},
      {"karst:find?by=title", {{"a", "1"}, {"a", ""}}, "4 find?by=title&a=1&a="},
      {"karst:find", {{"a&b", "x=y?#%+\r\n"}}, "4 find?a%26b=x%3dy%3f%23%25%2b%0d%0a"},
      {"karst:", {}, "4 "},
  };
  for (const auto& [target, fields, command] : cases) {
    EXPECT_TRUE(control_->SendForm(target, fields)) << target;
    EXPECT_EQ(LastCommand(), command);
  }
  EXPECT_TRUE(control_->FollowLink("karst:_close"));
  EXPECT_EQ(LastCommand(), "1 _close");
  Send(kUserCommand, "from the host");
  EXPECT_EQ(LastCommand(), "1 from the host");
  const size_t told = parent_->commands.size();
  for (const char* other : {"", "karst", "karst.html", "http://karst:80/", " karst:x"}) {
    EXPECT_FALSE(control_->FollowLink(other)) << other;
  }
  EXPECT_EQ(parent_->commands.size(), told);
  control_->FollowLink("karst:" + std::string(4094, 'x') + "红");
  EXPECT_EQ(LastCommand(), "1 " + std::string(4094, 'x'));
}

TEST(GbkWithReferences, NothingIsLostThatHasACodePoint) {
  const std::pair<std::string, std::string> cases[] = {
      {"\xE7\xBA\xA2 A", "红 A"},
      {"\xF0\x9F\x93\x96\xE7\xBA\xA2\xF0\x9F\x93\x96", "&#128214;红&#128214;"},
      {"a\xFF\xE7\xBA", "a???"},
      {"", ""},
  };
  for (const auto& [utf8, gbk] : cases) EXPECT_EQ(GbkWithReferences(utf8), gbk);
}

}  // namespace
}  // namespace karst
