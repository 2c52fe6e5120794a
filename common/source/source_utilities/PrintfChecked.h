#pragma once

/// Marks a function as taking a printf format (argument number `format`) and its values from argument `first` on, so
/// that the compiler checks the calls. The number of a member function's first argument is 2. The C++ run-time used here
/// follows GNU's printf rules on both systems; only GCC has a name for them.
#ifdef __clang__
#define ORV_PRINTF_CHECKED(format_, first_) __attribute__((format(printf, format_, first_)))
#else
#define ORV_PRINTF_CHECKED(format_, first_) __attribute__((format(gnu_printf, format_, first_)))
#endif
