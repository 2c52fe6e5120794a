#include "common/source/source_utilities/uConfig.h"

#include "common/source/source_utilities/TextFile.h"
#include "common/source/source_utilities/uString.h"

#include <algorithm>
#include <unordered_map>

namespace VX_QRS {

namespace {

constexpr std::string_view whitespace = " \t\r\n";

std::string_view trimmedLeft(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(whitespace), text.size()));
    return text;
}

std::string_view trimmedRight(std::string_view text) {
    return text.substr(0, text.find_last_not_of(whitespace) + 1);
}

void require(const void* pointer, const char* failure) {
    if (pointer == nullptr) {
        throw uConfig::error(failure);
    }
}

} // namespace

// Collects the variables of a file while it is read. Look-ups use an index, and replaced sections are removed at the
// end, so that no file takes time quadratic in its size.
class uConfig::Reader {
public:
    explicit Reader(uConfig& configuration) : config(configuration), replaced(configuration.sections.size(), false) {
        for (std::size_t i = 0; i < config.sections.size(); ++i) {
            places.try_emplace(config.sections[i].name, i);
        }
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    ~Reader() {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < config.sections.size(); ++i) {
            if (!replaced[i]) {
                if (kept != i) {
                    config.sections[kept] = std::move(config.sections[i]);
                }
                ++kept;
            }
        }
        config.sections.resize(kept);
    }

    void openSection(std::string_view header) {
        name = header;
        started = false;
    }

    void add(std::string_view key, std::string_view value) {
        if (!started) {
            startSection();
        }
        config.sections.back().variables.push_back({std::string(key), std::string(value)});
    }

private:
    void startSection() {
        replaced.push_back(false);
        config.sections.push_back({name, {}});
        const std::size_t here = config.sections.size() - 1;
        const auto [place, isNew] = places.try_emplace(name, here);
        if (!isNew) {
            replaced[place->second] = true;
            place->second = here;
        }
        started = true;
    }

    uConfig& config;
    std::vector<bool> replaced;                          // by index of section
    std::unordered_map<std::string, std::size_t> places; // of sections, by name
    std::string name;
    bool started = false;
};

void uConfig::setPath(const char* newPath) {
    require(newPath, "failed to set null path for configuration file");
    path = newPath;
}

void uConfig::read() {
    if (path.empty()) {
        throw error("failed to open configuration file for reading because its path was never set");
    }
    std::string text;
    if (!textFile::read(path, text, textFile::Mode::binary)) {
        throw error(textFile::openFailure(path, "reading"));
    }
    Reader reader(*this);
    std::string_view rest(text);
    std::string_view line;
    while (textFile::takeLine(rest, "\n", std::string_view::npos, line)) {
        line = trimmedRight(trimmedLeft(line));
        if (xml) {
            readXmlLine(reader, line);
        } else {
            readPlainLine(reader, line);
        }
    }
}

void uConfig::readPlainLine(Reader& reader, std::string_view line) {
    if (line.starts_with('#')) {
        return;
    }
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) {
        const std::string_view name = trimmedRight(line.substr(0, equals));
        if (!name.empty()) {
            reader.add(name, trimmedLeft(line.substr(equals + 1)));
        }
        return;
    }
    const std::size_t open = line.find('[');
    const std::size_t close = line.rfind(']');
    if (open != std::string_view::npos && close != std::string_view::npos && open < close) {
        reader.openSection(line.substr(open + 1, close - open - 1));
    }
}

void uConfig::readXmlLine(Reader& reader, std::string_view line) {
    if (line.empty() || line.starts_with("<?") || line.starts_with("<!--")) {
        return;
    }
    std::string copy(line);
    std::replace(copy.begin(), copy.end(), '<', '>');
    std::vector<std::string> pieces;
    uString::split(pieces, copy, ">");
    if (pieces.size() == 2 && !pieces[1].starts_with('/')) {
        reader.openSection(pieces[1]);
    } else if (pieces.size() == 4 && !pieces[1].empty()) {
        if (pieces[3] == "/" + pieces[1]) {
            reader.add(pieces[1], pieces[2]);
        } else {
            reader.add({}, {});
        }
    }
}

void uConfig::write(const char* header) {
    if (path.empty()) {
        throw error("failed to open configuration file for writing because its path was never set");
    }
    switch (textFile::replace(path, format(header))) {
    case textFile::Written::done:
        break;
    case textFile::Written::notOpened:
        throw error(textFile::openFailure(path, "writing"));
    case textFile::Written::notWritten:
        throw error("failed to write \"" + path + "\"");
    }
}

std::string uConfig::format(const char* header) const {
    std::string text;
    if (header != nullptr) {
        text.append(header).append("\n");
    }
    for (const Section& section : sections) {
        const bool named = !section.name.empty();
        if (named) {
            text.append(xml ? "<" : "[").append(section.name).append(xml ? ">\n" : "]\n");
        }
        for (const Variable& variable : section.variables) {
            const auto& [name, value] = variable;
            if (!xml) {
                text.append(name).append("=").append(value).append("\n");
            } else if (!name.empty()) {
                text.append(named ? "\t<" : "<").append(name).append(">").append(value);
                text.append("</").append(name).append(">\n");
            }
        }
        if (xml && named) {
            text.append("</").append(section.name).append(">\n");
        }
    }
    return text;
}

uConfig::Variable* uConfig::find(const char* name, const char* section) {
    for (Section& candidate : sections) {
        if (section != nullptr && candidate.name != section) {
            continue;
        }
        for (Variable& variable : candidate.variables) {
            if (variable.name == name) {
                return &variable;
            }
        }
    }
    return nullptr;
}

uConfig::Variable& uConfig::addVariable(const char* name, const char* value, const char* section) {
    require(name, "failed to add configuration variable for null name");
    require(value, "failed to add configuration variable for null value");
    if (Variable* known = find(name, section)) {
        known->value = std::string(value); // the value may be the variable's own
        return *known;
    }
    const std::string sectionName(section != nullptr ? section : "");
    auto last = std::find_if(sections.rbegin(), sections.rend(),
                             [&](const Section& candidate) { return candidate.name == sectionName; });
    Section& target = last != sections.rend() ? *last : sections.emplace_back(Section{sectionName, {}});
    return target.variables.emplace_back(Variable{name, value});
}

uConfig::Variable& uConfig::getVariable(const char* name, const char* section) {
    require(name, "failed to retrieve configuration variable for null name");
    if (Variable* known = find(name, section)) {
        return *known;
    }
    const std::string scope = section != nullptr ? std::string(section) + "::" : std::string();
    throw name_error("failed to retrieve configuration variable named \"" + scope + name + "\"");
}

void uConfig::getVariables(std::vector<Variable>& out, const char* section) const {
    for (const Section& candidate : sections) {
        if (section == nullptr || candidate.name == section) {
            out.insert(out.end(), candidate.variables.begin(), candidate.variables.end());
        }
    }
}

void uConfig::removeSection(const char* name) {
    if (name == nullptr) {
        return;
    }
    const auto found = std::find_if(sections.begin(), sections.end(),
                                    [&](const Section& candidate) { return candidate.name == name; });
    if (found != sections.end()) {
        sections.erase(found);
    }
}

} // namespace VX_QRS
