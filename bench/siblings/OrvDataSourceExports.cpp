#include "bench/siblings/FileDataSource.h"
#include "rcvr/framework/compiler/Compiler.h"

#include <new>

extern "C" {

ORV_EXPORT Vx::Qrs::Trace::IFileDataSource* CreateDataSource(const char* name) {
    return name != nullptr ? new (std::nothrow) bench::FileDataSource() : nullptr;
}

ORV_EXPORT void DestroyDataSource(Vx::Qrs::Trace::IFileDataSource* source) {
    delete source;
}
}
