// The library that tests load.
#include <stdexcept>

extern "C" {

int answer() {
    return 42;
}

void throwRuntimeError() {
    throw std::runtime_error("thrown in the library");
}
}
