// The functions of toml++ that its headers only declare, compiled once for all of this tree: Debian has no library of it
// for Windows.
#define TOML_IMPLEMENTATION
#include <toml++/toml.h>
