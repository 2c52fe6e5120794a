#include "common/source/source_utilities/uDll.h"
#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLog.h"
#include "tests/support/failure/FailureText.h"
#include "tests/support/scratch/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace VX_QRS {
namespace {

constexpr const char* libraryName = "unit_common_library";

// A typed function of a library; a missing one fails the test instead of crashing the program.
template <class Function>
Function* function(uDll& library, const char* name) {
    void* address = library.GetSymbol(name);
    if (address == nullptr) {
        throw std::logic_error(std::string("missing symbol ") + name);
    }
    return reinterpret_cast<Function*>(address);
}

TEST(uDll, PlatformNameGetsItsExtensionUnlessItHasOne) {
    EXPECT_EQ(uDll::GetPlatformName("abc"), "abc.dll");
    EXPECT_EQ(uDll::GetPlatformName("abc.dll"), "abc.dll");
    EXPECT_EQ(uDll::GetPlatformName("abc.dll.old"), "abc.dll.old");
    EXPECT_EQ(uDll::GetPlatformName(".dll"), ".dll.dll");
    EXPECT_EQ(uDll::GetPlatformName(""), ".dll");
    EXPECT_EQ(uDll::GetPlatformName(nullptr), ".dll");
}

TEST(uDll, LoadsByBaseNameWithAndWithoutExtension) {
    uDll bare;
    EXPECT_TRUE(bare.FindAndLoad(libraryName));
    uDll extended;
    EXPECT_TRUE(extended.FindAndLoad("unit_common_library.dll"));
    EXPECT_EQ(bare.getName(), libraryName);
    EXPECT_EQ(extended.getName(), libraryName);
    EXPECT_NE(bare.GetSymbol("answer"), nullptr);
    EXPECT_EQ(bare.GetSymbol("answer"), extended.GetSymbol("answer"));
}

TEST(uDll, ConstructorLoadsWhenANameIsGiven) {
    uDll library(libraryName, -1);
    ASSERT_TRUE(library.isLoaded());
    EXPECT_EQ(function<int()>(library, "answer")(), 42);
    EXPECT_FALSE(uDll(nullptr, -1).isLoaded());
}

TEST(uDll, ExceptionOfTheLibraryIsCaughtOutside) {
    uDll library(libraryName);
    ASSERT_TRUE(library.isLoaded());
    EXPECT_EQ(test_support::failureText<std::runtime_error>([&] { function<void()>(library, "throwRuntimeError")(); }),
              "thrown in the library");
}

TEST(uDll, NullNameLoadsNothing) {
    uDll library;
    EXPECT_FALSE(library.FindAndLoad(nullptr));
    EXPECT_STREQ(library.GetLastErrorText(), "");
}

TEST(uDll, LoadedLibraryStaysWhateverIsAskedFor) {
    uDll library(libraryName);
    EXPECT_TRUE(library.FindAndLoad("orv_no_such_library"));
    EXPECT_EQ(library.getName(), libraryName);
    EXPECT_EQ(function<int()>(library, "answer")(), 42);
}

TEST(uDll, FailedLoadLeavesATextWithANumber) {
    uDll library("orv_no_such_library.dll");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_STREQ(library.GetLastErrorText(), "failed to load orv_no_such_library with error code 126");
    EXPECT_EQ(library.getName(), "orv_no_such_library");
}

TEST(uDll, FileThatIsNoLibraryFails) {
    const test_support::TemporaryFolder folder;
    folder.write("broken.dll", "text");
    folder.write("broken.so", "text");
    const uEnvironment::ScopedDirectoryChanger changer(folder.path.string().c_str());
    uDll library("broken");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_STREQ(library.GetLastErrorText(), "failed to load broken with error code 193");
}

TEST(uDll, NameOfOnlyTheExtensionLoadsNothing) {
    uDll library(".dll");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_EQ(library.getName(), "");
    EXPECT_STREQ(library.GetLastErrorText(), "");
}

TEST(uDll, ModeOfMinusOneKeepsTheOneGivenBefore) {
    EXPECT_EQ(uDll(nullptr, -1).getMode(), -1);
    EXPECT_EQ(uDll("orv_no_such_library", -1).getMode(), 0);
    uDll library(nullptr, 5);
    library.FindAndLoad("orv_no_such_library", -1);
    EXPECT_EQ(library.getMode(), 5);
    library.FindAndLoad("orv_no_such_library", 7);
    EXPECT_EQ(library.getMode(), 7);
}

TEST(uDll, MissingSymbolLeavesATextUntilTheNextQuery) {
    uDll library(libraryName);
    EXPECT_EQ(library.GetSymbol("question"), nullptr);
    EXPECT_STREQ(library.GetLastErrorText(), "GetLastError() returned 127");
    EXPECT_NE(library.GetSymbol("answer"), nullptr);
    EXPECT_STREQ(library.GetLastErrorText(), "");
    EXPECT_EQ(library.GetSymbol(nullptr), nullptr);
}

TEST(uDll, WithoutALibraryThereAreNoSymbols) {
    uDll library("orv_no_such_library");
    const std::string text = library.GetLastErrorText();
    EXPECT_EQ(library.GetSymbol("answer"), nullptr);
    EXPECT_EQ(library.GetLastErrorText(), text) << "the query was not made";
}

TEST(uDll, UnloadsOnceAndMayLoadAgain) {
    uDll library(libraryName);
    library.GetSymbol("question");
    EXPECT_TRUE(library.Unload());
    EXPECT_STREQ(library.GetLastErrorText(), "");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_FALSE(library.Unload());
    EXPECT_TRUE(library.FindAndLoad(libraryName));
}

} // namespace
} // namespace VX_QRS
