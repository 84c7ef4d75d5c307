// The examples of a page of the documentation: each fenced "karst" is a script and must write the "output" that
// follows it.
#pragma once

#include <cstddef>
#include <string>

namespace karst::testing {

// Runs the examples of a page, named by its path below the project's root, each with and without what is remembered.
// Reports differences, and a page of fewer than `at_least` examples, to the running test.
void CheckExamples(const std::string& page, size_t at_least);

}  // namespace karst::testing
