#pragma once

/// Assertions for misuse and malformed trees: programming errors, never conditions of outside data.
/// They are checked in every build type. A failure prints `assertion failed: TEXT (file:line)` to
/// standard error and aborts the process.

/// Reports a failed assertion and aborts. Called by the macros below.
[[noreturn]] void assertionFailed(char const * text, char const * file, int line) noexcept;

/// Asserts `expr`; the failure carries the expression's own text. May stand inside an expression.
#define QCF_ASSERT(expr)                                                                           \
    (static_cast<bool>(expr) ? static_cast<void>(0) : assertionFailed(#expr, __FILE__, __LINE__))

/// Asserts `cond`; the failure carries `text` instead of the expression.
#define QCF_ASSERT_TEXT(cond, text)                                                                \
    (static_cast<bool>(cond) ? static_cast<void>(0) : assertionFailed(text, __FILE__, __LINE__))
