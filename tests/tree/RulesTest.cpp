#include "tests/tree/BuildLists.h"
#include "tests/tree/Layering.h"
#include "tests/tree/SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The rules on small trees made up here, so that it is known that each of them can be broken.

namespace tree {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

TEST(TreeRules, IncludesPointDownwards) {
    const Files files{
        {"common/source/a.h", ""},
        {"common/source/source_utilities/u.h", "#include \"common/source/a.h\"\n"},
        {"common/source/source_utilities/PropertyParser.h", "#include \"common/source/a.h\"\n"},
        {"rcvr/framework/f.h", ""},
        {"rcvr/r.h", "#include \"rcvr/framework/f.h\"\n#include \"client/c.h\"\n"},
        {"client/c.h", "\n#include \"rcvr/framework/f.h\"\n#include \"rcvr/r.h\"\n"},
        {"link/l.h", "#include \"common/source/a.h\"\n  #  include \"mpx/m.h\"\n"},
        {"mpx/m.h", "#include \"link/l.h\"\n"},
        {"bench/server/b.cpp", "#include \"common/source/a.h\"\n#include \"link/l.h\"\n"},
        {"host/session/h.cpp",
         "#include \"rcvr/framework/f.h\"\n#include \"rcvr/r.h\"\n#include \"common/source/a.h\"\n"},
        {"client/analysis/a.h", ""},
        {"client/frontend/f.h", "#include \"client/analysis/a.h\"\n"},
        {"client/patterns/p.h", "#include \"client/frontend/f.h\"\n"},
        {"tests/t.cpp", "#include \"rcvr/r.h\"\n#include \"bench/server/b.cpp\"\n"},
    };
    EXPECT_THAT(upwardIncludes(files),
                ElementsAre("bench/server/b.cpp:2: includes link/l.h", "client/c.h:3: includes rcvr/r.h",
                            "client/patterns/p.h:1: includes client/frontend/f.h",
                            "common/source/source_utilities/u.h:1: includes common/source/a.h",
                            "host/session/h.cpp:2: includes rcvr/r.h",
                            "host/session/h.cpp:3: includes common/source/a.h", "link/l.h:2: includes mpx/m.h"));
}

TEST(TreeRules, IncludesAreNamedFromTheRoot) {
    const Files files{
        {"link/a.h", "#include <vector>\n#include \"link/b.h\"\n"},
        {"link/b.h", "#include \"a.h\"\n"},
        {"common/u.cpp", "#include \"own.h\"\n#include \"half.h\"\n"},
        {"common/win32/own.h", ""},
        {"common/posix/own.h", ""},
        {"common/win32/half.h", ""},
        {"tests/t.cpp", "#include \"made.h\"\n"},
    };
    EXPECT_THAT(includesThatAreNotFromTheRoot(files),
                ElementsAre("common/u.cpp:2: half.h is not there", "link/b.h:1: a.h is not there"));
}

TEST(TreeRules, NoHeaderIncludesItself) {
    EXPECT_THAT(includeCycles({{"link/a.h", "#include \"link/b.h\"\n"}, {"link/b.h", ""}, {"link/c.h", ""}}),
                IsEmpty());
    EXPECT_THAT(includeCycles({{"link/a.h", "#include \"link/b.h\"\n"},
                               {"link/b.h", "#include \"c.h\"\n"},
                               {"link/c.h", "#include \"link/b.h\"\n"}}),
                ElementsAre("link/b.h: includes itself by way of link/b.h link/c.h"));
}

TEST(TreeRules, PlatformsAreNamedInTheirFoldersOnly) {
    const Files files{
        {"common/a.h", "#ifdef __clang__\n#endif\n#include <vector>\n"},
        {"common/b.cpp", "#include <vector>\n#  if defined(_WIN32)\n#elif defined(__linux__)\n#endif\n"},
        {"common/c.cpp", "#include <unistd.h>\n#include <sys/stat.h>\n#include <windows.h>\n"},
        {"common/win32/d.cpp", "#include <windows.h>\n#ifdef _WIN64\n"},
        {"link/posix/e.cpp", "#include <unistd.h>\n"},
        {"host/session/f.cpp", "#ifdef _WIN32\n"},
        {"tests/g.cpp", "#ifdef _WIN32\n"},
    };
    EXPECT_THAT(platformDependence(files),
                ElementsAre("common/b.cpp:2: #  if defined(_WIN32)", "common/b.cpp:3: #elif defined(__linux__)",
                            "common/c.cpp:1: includes <unistd.h>", "common/c.cpp:2: includes <sys/stat.h>",
                            "common/c.cpp:3: includes <windows.h>", "host/session/f.cpp:1: #ifdef _WIN32"));
}

TEST(TreeRules, CompilersAreNamedInOneHeaderOnly) {
    const Files files{
        {"rcvr/framework/compiler/Compiler.h", "#ifdef __clang__\n#define X __attribute__((unused))\n#endif\n"},
        {"common/a.h", "#ifdef __GNUC__\n#endif\n#include <immintrin.h>\n"},
        {"common/win32/b.cpp", "__declspec(dllexport) int b;\n"},
        {"link/c.cpp", "int c = __builtin_ctz(1);\n#pragma GCC unroll 4\nint attribute; #pragma once\n"},
        {"tests/d.cpp", "int d = __builtin_ctz(1);\n"},
    };
    EXPECT_THAT(compilerDependence(files),
                ElementsAre("common/a.h:1: __GNUC__", "common/a.h:3: <immintrin.h>", "common/win32/b.cpp:1: __declspec",
                            "link/c.cpp:1: __builtin_ctz", "link/c.cpp:2: #pragma GCC"));
}

TEST(TreeRules, SourcesAreBuilt) {
    const Files files{
        {"link/CMakeLists.txt", "orv_static(orv_link SOURCES a.cpp ${system}/b.cpp found/*.cpp)\n"},
        {"link/a.cpp", ""},
        {"link/posix/b.cpp", ""},
        {"link/found/c.cpp", ""},
        {"link/forgotten.cpp", ""},
        {"link/other/a.cpp", ""},
        {"mpx/a.cpp", ""},
    };
    EXPECT_THAT(sourcesThatAreNotBuilt(files),
                ElementsAre("link/forgotten.cpp: no CMakeLists.txt lists it", "mpx/a.cpp: no CMakeLists.txt lists it"));
}

TEST(TreeRules, UnfinishedWorkIsFound) {
    const std::string mark = std::string("TO") + "DO";
    EXPECT_THAT(unfinishedWork({{"a.cpp", "int a;\n// " + mark + ": more\n"}, {"b.bin", mark}, {"c.md", "x" + mark}}),
                ElementsAre(StartsWith("a.cpp:2: ")));
}

TEST(TreeRules, LongFilesAreFound) {
    EXPECT_THAT(longFiles({{"a.cpp", "\n\n\n"}, {"b.cpp", "\n\n"}, {"c.txt", "\n\n\n\n"}}, 3),
                ElementsAre("a.cpp: has 3 lines"));
}

TEST(TreeRules, DeadLinksAreFound) {
    const Files files{
        {"README.md", "[a](docs/a.md) and [b](docs/b.md#part) [c](docs/) [d](#here) [e](https://example.org/x)\n"
                      "# Here\n"},
        {"docs/a.md", "[up](../README.md)\n[out](../missing.md) [beside](b.md)\n"},
        {"docs/deep/c.md", "## What it is, and why\n[in](#what-it-is-and-why) [up](../../README.md#here)\n"
                           "[gone](#what-it-was) [there](../../README.md#there)\n"},
        {"docs/packed.md", "[sources](../client/a.h) [host](../examples/host)\n"},
        {"client/a.h", ""},
        {"examples/host/main.cpp", ""},
    };
    EXPECT_THAT(deadLinks(files), ElementsAre("README.md:1: links to docs/b.md, which is not there",
                                              "docs/a.md:2: links to ../missing.md, which is not there",
                                              "docs/a.md:2: links to b.md, which is not there",
                                              "docs/deep/c.md:3: links to #what-it-was, a heading that is not there",
                                              "docs/deep/c.md:3: links to #there, a heading that is not there",
                                              "docs/packed.md:1: links to ../client/a.h, which packages do not hold"));
}

} // namespace tree
