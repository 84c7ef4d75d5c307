// The rules that a source is checked by: their names, how grave they are, and their texts in both languages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace karst::cli::check {

// An error keeps the source from loading or stops it where it stands; a warning is most likely not what was meant; a
// note is worth knowing.
enum class Severity : uint8_t { kNote, kWarning, kError };
enum class Language : uint8_t { kChinese, kEnglish };

enum class Rule : uint8_t {
  // The file.
  kLfLines,
  kStrayLf,
  kLoneCr,
  kHostForm,
  kNotInGbk,
  kBadUtf8,
  kBadGbk,
  kBehindEnd,
  // Words.
  kOpenLiteral,
  kLiteralOverLines,
  kHalfCharacter,
  kTooLong,
  kBadCharacter,
  kFullWidth,
  kUnknownByte,
  kStrayBackslash,
  kTouchesLiteral,
  // Blocks.
  kExtraBrace,
  kOpenBrace,
  kLostBrace,
  kLostWord,
  kExtraEndloop,
  kOpenLoop,
  kTooDeep,
  kBlockName,
  kLongBlockName,
  kBehindStop,
  // What runs.
  kNeverRuns,
  kCodeNeverRuns,
  kNoField,
  kNoCommon,
  kCommonTwice,
  kCommonUnused,
  kChainCycle,
  kMatchesNothing,
  kPatternCut,
  // Names.
  kUndeclared,
  kOutOfScope,
  kNotHere,
  kDeclaredTwice,
  kDeclaredInLoop,
  // Statements.
  kBadDeclaration,
  kReservedName,
  kOpenDeclaration,
  kTextStart,
  kWrongType,
  kNoAssignment,
  kBadExpression,
  kOpenParenthesis,
  kTextOperator,
  kOnlyTexts,
  kDifferentTypes,
  kLogicOperator,
  kDivisionByZero,
  kDropped,
  kLiteralAlone,
  kWordWithoutEffect,
  // Calls.
  kUnknownFunction,
  kFunctionLacking,
  kTooFewArguments,
  kTooManyArguments,
  kArgumentCount,
  kArgumentType,
  kArgumentReference,
  kNoComma,
  kOpenCall,
  kBehindCall,
  kFormatType,
  kFormatMissing,
  kFormatHalf,
  kFormatLeft,
  // The way through.
  kElseBehind,
  kElseAlone,
  kLongPart,
  kNoLabel,
  kGotoColon,
  kGotoInward,
  kGotoAway,
  kGotoFunction,
  kLabelTwice,
  kLabelReserved,
  kContinueInScript,
  kBreakOutside,
  kBreakInBlock,
  kLeavesBlock,
  // The rest.
  kMore,
  kEngine,
};

struct RuleText {
  Rule rule;
  std::string_view name;  // behind each finding, in brackets
  Severity severity;
  std::string_view chinese;  // %1, %2: what the finding is about
  std::string_view english;
};

// In the order of the rules; rules.cpp holds it.
const RuleText& RuleOf(Rule rule);
std::string_view NameOf(Severity severity, Language language);
inline constexpr size_t kRuleCount = static_cast<size_t>(Rule::kEngine) + 1;

}  // namespace karst::cli::check
