// Reader: calls of built-in functions.
#include <string>

#include "cli/check/reader.h"
#include "cli/check/signature.h"
#include "values/name.h"

namespace karst::cli::check {
namespace {

// LIMIT: a printing function with this many arguments is refused.
constexpr size_t kTooManyForFormats = 50;

// Those that refuse further arguments, beside those with arguments that may be left out; the others ignore them.
bool CountsExactly(std::string_view name, std::string_view kinds) {
  for (const std::string_view exact : {"MemCmp", "EscapeString", "min", "max"}) {
    if (name == exact) return true;
  }
  return kinds.find('(') != std::string_view::npos;
}

// A search for the empty text only counts rows, and asks nothing of the argument for the value.
bool IsUnused(const Signature& signature, size_t place, const std::vector<Argument>& arguments) {
  return signature.name == "DBSearch" && place == 3 && arguments[1].literal && arguments[1].token->text.empty();
}

// Where an argument of the wrong type does not stop the script: a handle of fprintf that is no number is no handle.
bool IsBorne(const Signature& signature, size_t place) { return signature.name == "fprintf" && place == 0; }

std::string_view WantedType(const Parameter& parameter) {
  if (parameter.text && parameter.integer) return "string/int";
  return parameter.text ? "string" : "int/int64";
}

}  // namespace

bool Reader::ReadCall(const Token& name) {
  std::vector<Argument> arguments;
  const bool closed = Arguments(arguments);
  if (!closed) Report(Rule::kOpenCall, name);
  CheckCall(name, arguments);
  return closed;
}

void Reader::LiteralArgument(std::vector<Argument>& arguments) const {
  arguments.push_back({.type = Type::kText, .literal = true, .token = token_});
}

void Reader::ReferenceArgument(std::vector<Argument>& arguments) {
  const Type type = token_->cls == COMMAND ? Type::kUnknown : TypeOfVariable(*token_);
  arguments.push_back({.type = type, .reference = true, .token = token_});
}

void Reader::ValueArgument(std::vector<Argument>& arguments, const Token* first, Type type) {
  arguments.push_back({.type = type, .token = first});
}

void Reader::CheckCall(const Token& name, const std::vector<Argument>& arguments) {
  const std::string key(SignificantName(name.text));
  karst::BuiltinHandler handler = nullptr;
  const int row = functions_.FindKernelFunction(key.c_str(), &handler, nullptr, 0);
  if (row < 0) return Report(Rule::kUnknownFunction, name, {name.text});
  const Signature& signature = kSignatures[static_cast<size_t>(row)];
  if (!handler) return Report(Rule::kFunctionLacking, name, {name.text});
  CheckCount(name, signature, arguments.size());
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (!IsUnused(signature, i, arguments)) CheckArgument(signature, i, arguments[i]);
  }
  const auto leading = static_cast<size_t>(RequiredArguments(signature.kinds));
  const bool has_format = TakesValues(signature.kinds) && arguments.size() >= leading && arguments[leading - 1].literal;
  if (!has_format) return;
  const bool refused = signature.name != "bmprintf";  // which gives -1
  CheckFormat(*this, *arguments[leading - 1].token, std::span(arguments).subspan(leading), refused);
}

void Reader::CheckCount(const Token& name, const Signature& signature, size_t count) {
  const auto required = static_cast<size_t>(RequiredArguments(signature.kinds));
  const bool values = TakesValues(signature.kinds);
  const size_t most = values ? kTooManyForFormats - 1 : KnownArguments(signature.kinds);
  const bool refused = count > most && (values || CountsExactly(signature.name, signature.kinds));
  if (count < required || refused) {
    const std::string wanted = std::to_string(count < required ? required : most);
    Report(count < required ? Rule::kTooFewArguments : Rule::kArgumentCount, name,
           {signature.name, wanted, std::to_string(count)});
  } else if (count > most) {
    Report(Rule::kTooManyArguments, name, {signature.name, std::to_string(most), std::to_string(count)});
  }
}

void Reader::CheckArgument(const Signature& signature, size_t place, const Argument& argument) {
  const Parameter parameter = ParameterAt(signature.kinds, place);
  const std::string number = std::to_string(place + 1);
  const bool number_type = argument.type == Type::kInt || argument.type == Type::kInt64;
  const bool wrong = (argument.type == Type::kText && parameter.integer && !parameter.text) ||
                     (number_type && parameter.text && !parameter.integer);
  if (wrong) {
    const Severity severity = IsBorne(signature, place) ? Severity::kWarning : Severity::kError;
    return Report(Rule::kArgumentType, severity, *argument.token, {signature.name, number, WantedType(parameter)});
  }
  if (parameter.reference && !argument.reference) {
    Report(Rule::kArgumentReference, *argument.token, {signature.name, number});
  }
}

}  // namespace karst::cli::check
