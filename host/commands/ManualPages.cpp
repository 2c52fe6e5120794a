#include "host/commands/ManualPages.h"

#include "toolkit/ExitCode.h"
#include "toolkit/Text.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace host {

namespace {

constexpr std::string_view example = "Example: ";
constexpr std::size_t longestLine = 79;

/// Text that the formatter takes as it is.
std::string plain(std::string_view text) {
    std::string out;
    for (const char letter : text) {
        if (letter == '\\') {
            out += "\\e";
        } else if (letter == '-') {
            out += "\\-";
        } else {
            out += letter;
        }
    }
    return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

std::string bold(std::string_view text) {
    return "\\fB" + plain(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + plain(text) + "\\fR";
}

std::string capitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return text;
}

/// A help line as part of a sentence: "Write a burst" becomes "write a burst"; "EMU pins" stays.
std::string uncapitalised(std::string text) {
    if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])) != 0) {
        text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
    }
    return text;
}

std::string dashed(std::string name) {
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string heading(const std::string& name) {
    return ".SH " + name + "\n";
}

std::string item(const std::string& term, const std::string& text) {
    return ".TP\n" + term + "\n" + text + "\n";
}

/// A full stop at the end, as the pages' sentences have it.
std::string sentence(const std::string& text) {
    return text.empty() || text.ends_with('.') ? text : text + ".";
}

std::string optionItems(const std::vector<OptionFacts>& options) {
    std::string text;
    for (const OptionFacts& option : options) {
        std::string term = (option.shortName.empty() ? "" : bold(option.shortName) + ", ") + bold(option.name);
        term += option.value.empty() ? "" : " " + italic(option.value);
        std::string about = plain(sentence(option.about));
        if (!option.choices.empty() && option.about.find(option.choices.front()) == std::string::npos) {
            about += "\nOne of " + plain(toolkit::joined(option.choices, ", ")) + ".";
        }
        text += item(term, about);
    }
    return text;
}

std::string argumentItems(const std::vector<OptionFacts>& arguments) {
    std::string text;
    for (const OptionFacts& argument : arguments) {
        text += item(italic(argument.name), plain(sentence(argument.about)));
    }
    return text;
}

/// "orvtrace tdf list FILE.tdf [OPTIONS]".
std::string synopsis(const std::string& name, const CommandFacts& command) {
    std::string text = ".B " + plain(name) + "\n";
    for (const OptionFacts& argument : command.arguments) {
        text += argument.required ? italic(argument.name) + "\n" : "[" + italic(argument.name) + "]\n";
    }
    return text + (command.nested.empty() ? "" : italic("SUBCOMMAND") + "\n") + "[" + italic("OPTIONS") + "]\n";
}

/// The text under a help's options, without and with its examples. Exit codes have a section of their own.
struct Footer {
    std::string prose;
    std::string examples;

    explicit Footer(const std::string& text) {
        if (text.starts_with("Exit codes:")) {
            return;
        }
        for (const toolkit::TextLine& line : toolkit::textLines(text)) {
            if (line.text.starts_with(example)) {
                examples += plain(line.text.substr(example.size())) + "\n";
            } else {
                prose += plain(line.text) + "\n";
            }
        }
    }
};

std::string exampleBlock(const std::string& examples) {
    return examples.empty() ? "" : ".nf\n.RS 4\n" + examples + ".RE\n.fi\n";
}

std::string head(const std::string& name, const std::string& about, const ManualEdition& edition) {
    return ".TH " + capitals(plain(name)) + " 1 " + edition.date + " \"orvtrace " + edition.version +
           "\" \"User Commands\"\n" + heading("NAME") + plain(name) + " \\- " + plain(uncapitalised(about)) + "\n";
}

std::string subcommandPage(const std::string& program, const CommandFacts& command, const ManualEdition& edition) {
    const std::string name = program + " " + command.name;
    std::string text = head(dashed(name), command.about, edition) + heading("SYNOPSIS") + synopsis(name, command);
    const Footer footer(command.footer);
    text += heading("DESCRIPTION") + plain(sentence(command.about)) + "\n";
    text += footer.prose.empty() ? "" : ".PP\n" + footer.prose;
    text += argumentItems(command.arguments) + heading("OPTIONS") + optionItems(command.options);
    std::string examples = footer.examples;
    if (!command.nested.empty()) {
        text += heading("SUBCOMMANDS");
        for (const CommandFacts& nested : command.nested) {
            const Footer own(nested.footer);
            text += ".SS " + plain(nested.name) + "\n" + synopsis(name + " " + nested.name, nested) + ".PP\n" +
                    plain(sentence(nested.about)) + "\n" + own.prose + argumentItems(nested.arguments) +
                    optionItems(nested.options);
            examples += examples.find(own.examples) == std::string::npos ? own.examples : "";
        }
    }
    text += examples.empty() ? "" : heading("EXAMPLES") + exampleBlock(examples);
    return text + heading("EXIT STATUS") + "0 if done; the other codes are on the page of\n.BR " + plain(program) +
           " (1).\n" + heading("SEE ALSO") + ".BR " + plain(program) + " (1)\n";
}

/// Lines of running text end before column 80, at a blank; that of an example is shown as it is.
std::string folded(const std::string& page) {
    std::string text;
    bool isExample = false;
    for (const toolkit::TextLine& line : toolkit::textLines(page)) {
        isExample = line.text == ".nf" || (isExample && line.text != ".fi");
        std::string_view rest = line.text;
        while (rest.size() > longestLine && !isExample && !line.text.starts_with('.')) {
            const std::size_t blank = rest.rfind(' ', longestLine);
            if (blank == std::string_view::npos) {
                break;
            }
            text += std::string(rest.substr(0, blank)) + "\n";
            rest.remove_prefix(blank + 1);
            // At the beginning of a line these would be a command.
            text += rest.starts_with('.') || rest.starts_with('\'') ? "\\&" : "";
        }
        text += std::string(rest) + "\n";
    }
    return text;
}

/// What no table of the command line has.
std::string surroundings() {
    return heading("ENVIRONMENT") +
           item(bold("VX_TRACE_PROPERTIES"),
                "A file of properties of the channel that no settings file has; those of\n" + bold("--set") +
                    "\nfollow and win.") +
           item(bold("USERPROFILE") + ", " + bold("HOME"),
                "Folder of the receiver's own files with a real unit; a run on the bench uses its own folder.") +
           item(bold("NO_COLOR"), "Set and not empty: no colours on a terminal.") + heading("FILES") +
           item(italic("orvtrace-NAME"), "Folder of a run, in the current one, unless\n" + bold("--out") +
                                             "\nnames another: settings, report, log, diagnostic files.") +
           item(italic(".VX-trace/data"), "The receiver's diagnostic files and its recording, in the run's folder or "
                                          "the user's.");
}

std::string programPage(const CommandFacts& program, const ManualEdition& edition) {
    std::string text = head(program.name, "record and diagnose a chip's trace", edition) + heading("SYNOPSIS") +
                       synopsis(program.name, program) + heading("DESCRIPTION") + plain(sentence(program.about)) +
                       "\nResults go to the standard output, progress and failures to the standard error output.\n";
    text += heading("COMMANDS");
    for (const CommandFacts& command : program.nested) {
        text += item(bold(command.name), plain(sentence(command.about)));
    }
    text += heading("OPTIONS") + optionItems(program.options) + heading("EXIT STATUS");
    for (const toolkit::ExitCodeFacts& code : toolkit::exitCodes()) {
        text += item(bold(std::to_string(code.number)), plain(sentence(code.meaning)));
    }
    text += surroundings() + heading("EXAMPLES") +
            exampleBlock(plain("orvtrace calibrate --scenario bench-cable --out run") + "\n" +
                         plain("orvtrace doctor run") + "\n");
    text += heading("SEE ALSO");
    for (const CommandFacts& command : program.nested) {
        text += ".BR " + plain(program.name + "-" + command.name) + " (1)" +
                (&command == &program.nested.back() ? "\n" : ",\n");
    }
    return text;
}

} // namespace

std::vector<ManualPage> manualPagesOf(const CommandFacts& program, const ManualEdition& edition) {
    std::vector<ManualPage> pages{{program.name + ".1", folded(programPage(program, edition))}};
    for (const CommandFacts& command : program.nested) {
        pages.push_back(
            {program.name + "-" + command.name + ".1", folded(subcommandPage(program.name, command, edition))});
    }
    return pages;
}

} // namespace host
