#include "bench/siblings/FileDataSource.h"

#include <new>

extern "C" {

__attribute__((visibility("default"))) Vx::Qrs::Trace::IFileDataSource* CreateDataSource(const char* name) {
    return name != nullptr ? new (std::nothrow) bench::FileDataSource() : nullptr;
}

__attribute__((visibility("default"))) void DestroyDataSource(Vx::Qrs::Trace::IFileDataSource* source) {
    delete source;
}
}
