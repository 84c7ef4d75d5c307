// System calls that a signal may break off.
#pragma once

#include <cerrno>

namespace karst {

// Repeats a system call until no signal breaks it off.
template <typename Call>
auto Retried(Call call) {
  auto answer = call();
  while (answer == -1 && errno == EINTR) answer = call();
  return answer;
}

}  // namespace karst
