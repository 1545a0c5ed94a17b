// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillfen::bench {

/// Says on standard error what could not be done and why, and ends the program: a measurement
/// that lost its footing must not print numbers.
///
/// @p error is an errno value, positive or negative; 0 when there is no more to say.
[[noreturn]] void die(const char *doing, int error = 0);

/// @p result of a system call or of sd-bus, or the end of the program when it is negative.
/// A call that reports through errno alone gives -1, and errno is then what is said.
int need(int result, const char *doing);

/// @p word of the command line as a number from 1 on, or the end of the program.
int count(const char *word);

} // namespace quillfen::bench
