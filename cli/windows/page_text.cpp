// The texts of states and reports. Only this file knows the JSON library.
#include "cli/windows/page_text.h"

#include <nlohmann/json.hpp>

namespace karst::cli {
namespace {

using nlohmann::json;

constexpr std::pair<std::string_view, PageReport::Kind> kKinds[] = {
    {"link", PageReport::Kind::kLink},       {"form", PageReport::Kind::kForm},     {"enter", PageReport::Kind::kEnter},
    {"printed", PageReport::Kind::kPrinted}, {"answer", PageReport::Kind::kAnswer}, {"leave", PageReport::Kind::kLeave},
};

std::string_view EndName(PageState::End end) {
  switch (end) {
    case PageState::End::kOpen: return "";
    case PageState::End::kClosed: return "closed";
    case PageState::End::kRunOver: return "over";
  }
  return "";
}

std::optional<PageReport::Kind> KindNamed(std::string_view name) {
  for (const auto& [known, kind] : kKinds) {
    if (known == name) return kind;
  }
  return std::nullopt;
}

}  // namespace

std::string StateText(const PageState& state) {
  json macros = json::object();
  for (const auto& [name, macro] : state.macros) macros[name] = {{"value", macro.value}, {"setting", macro.setting}};
  json text = {{"title", state.title},      {"page", state.page},        {"revision", state.revision},
               {"macros", macros},          {"print", state.print},      {"message", state.message},
               {"end", EndName(state.end)}, {"text", state.message_text}};
  if (state.placed) text["place"] = {state.place.left, state.place.top, state.place.width, state.place.height};
  return text.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<PageReport> ReadReport(std::string_view text) {
  try {
    const json read = json::parse(text);
    const auto kind = KindNamed(read.at("kind").get<std::string>());
    if (!kind) return std::nullopt;
    PageReport report;
    report.kind = *kind;
    report.viewer = read.value("viewer", std::string());
    report.page = read.value("page", uint64_t{0});
    report.message = read.value("message", uint64_t{0});
    report.target = read.value("target", std::string());
    report.query = read.value("query", PageReport::Fields());
    report.entered = read.value("entered", PageReport::Fields());
    return report;
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

}  // namespace karst::cli
