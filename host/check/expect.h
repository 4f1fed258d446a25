// How a rule says that its promise is broken, or that nobody can say. `what` names the call that is looked at.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/disks/plugin_calls.h"

namespace host::check {

/// Thrown by a rule: the promise is broken.
struct Failure {
  std::string text;  ///< what was expected and what was seen
};

/// Thrown by a rule: nobody can say.
struct Skipped {
  std::string reason;
};

[[noreturn]] void fail(const std::string& text);

/// Fails with the text unless the condition holds.
void expect(bool holds, const std::string& otherwise);

/// Each fails with "WHAT: expected EXPECTED, got SEEN" when the two differ.
void expectNumber(const std::string& what, uint64_t expected, uint64_t seen);
void expectResult(const std::string& what, int32_t expected, int32_t seen);
void expectText(const std::string& what, const std::string& expected, const std::string& seen);

/// The same for an operation's result and its error text.
void expectAnswer(const std::string& what, const CallResult& expected, const CallResult& seen);

/// The same for lists, of which the first few are shown.
void expectList(const std::string& what, const std::vector<std::string>& expected,
                const std::vector<std::string>& seen);

/// Fails unless a list operation wrote as many slots or records as its result, or the rule, says.
void expectWritten(const std::string& what, int32_t expected, size_t written);

/// Makes a call again and again and fails when more and more memory is in use. Skips the rule where this program's
/// allocator does not tell.
///
/// @param calls  what is called, in the plural
void expectNoGrowth(const std::string& calls, const std::function<void()>& call);

/// "a, b, c", or "none".
[[nodiscard]] std::string listed(const std::vector<std::string>& names);

}  // namespace host::check
