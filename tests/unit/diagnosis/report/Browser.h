#pragma once

#include "tests/support/scratch/TemporaryFolder.h"

#include <filesystem>
#include <string>
#include <vector>

/// Chromium without a window and without a network, with a profile of its own for each page.
class Browser {
public:
    /// What a page came to.
    struct Outcome {
        std::string dom;     ///< after the layout of the page
        std::string console; ///< lines that the page wrote to the console, or that the browser wrote about it
    };
    /// Throws when the browser does not run.
    Outcome open(const std::string& page, const std::vector<std::string>& options = {}) const;
    /// Writes the picture of a page, and gives its size in bytes.
    std::size_t picture(const std::string& page, const std::filesystem::path& png) const;
    /// Prints the page, and gives the document's bytes.
    std::string print(const std::string& page) const;

private:
    std::string run(const std::string& page, const std::vector<std::string>& options) const;

    test_support::TemporaryFolder folder;
    mutable unsigned pages = 0;
};
