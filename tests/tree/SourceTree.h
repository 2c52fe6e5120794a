#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

// The tree as texts, and the rules that it keeps. Every rule gives one line per breach: "file:line: what is wrong", or
// "file: ..." where there is no line.

namespace tree {

/// Paths from the root, with "/", and the files' texts.
using Files = std::map<std::string, std::string>;
using Breaches = std::vector<std::string>;

/// Everything below `root` but what is hidden or built.
Files readFiles(const std::filesystem::path& root);
/// Those of this tree, read once.
const Files& sourcesOfThisTree();

bool isSource(const std::string& path);

Breaches unfinishedWork(const Files& files);
/// Sources of so many lines or more.
Breaches longFiles(const Files& files, std::size_t lines);
/// Links in documents to files and headings that are not there.
Breaches deadLinks(const Files& files);

} // namespace tree
