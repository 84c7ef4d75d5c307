// The language guide: its examples write what it says.
#include <gtest/gtest.h>

#include "support/doc_examples.h"

namespace karst::testing {
namespace {

TEST(LanguageDocument, ExamplesRunAsShown) { CheckExamples("docs/language.md", 10); }

}  // namespace
}  // namespace karst::testing
