#include "CommandLineDocs.h"

#include "CommandLine.h"

#include <cctype>
#include <sstream>

namespace fluxgrid::tool {

namespace {

// ---------------------------------------------------------------------------
// walking the command line

struct CommandPath {
    std::string path;  // "fluxgrid layout export"
    const CLI::App* app;
};

void collect(const CLI::App& app, const std::string& path, std::vector<CommandPath>& out) {
    out.push_back({path, &app});
    for (const CLI::App* command : visibleCommands(app)) {
        collect(*command, path + ' ' + command->get_name(), out);
    }
}

std::vector<CommandPath> commandsOf(const CLI::App& app) {
    std::vector<CommandPath> commands;
    collect(app, app.get_name(), commands);
    return commands;
}

// The name of an option's value as given, without the checks' words that
// CLI11 puts behind it ("FORMAT", not "FORMAT:{csv,tsv}").
std::string typeNameOf(const CLI::Option& option) {
    const std::string name = option.get_type_name();
    return name.substr(0, name.find(':'));
}

bool takesValue(const CLI::Option& option) {
    return option.get_items_expected_min() > 0;
}

// Options shown in help, the help flag of each command but the top one left
// out, positional arguments apart.
std::vector<const CLI::Option*> optionsOf(const CLI::App& app, bool positional, bool withHelp) {
    return app.get_options([&](const CLI::Option* option) {
        return !option->get_group().empty() && option->get_positional() == positional &&
               (withHelp || option != app.get_help_ptr());
    });
}

std::vector<std::string> flagNames(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back('-' + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

// ---------------------------------------------------------------------------
// roff

// Text in roff: backslashes escaped, and a line that would read as a
// request ('.' or '\'' first) guarded.
std::string roff(std::string_view text) {
    std::string out;
    bool lineStart = true;
    for (char c : text) {
        if (lineStart && (c == '.' || c == '\'')) {
            out += "\\&";
        }
        if (c == '\\') {
            out += "\\e";
        } else {
            out += c;
        }
        lineStart = c == '\n';
    }
    return out;
}

// An option's or a command's name: every '-' a minus sign.
std::string roffName(std::string_view name) {
    std::string out;
    for (char c : name) {
        out += c == '-' ? std::string("\\-") : std::string(1, c);
    }
    return out;
}

std::string synopsisOf(const CommandPath& command) {
    std::string line = command.path;
    if (!optionsOf(*command.app, false, true).empty()) {
        line += " [OPTIONS]";
    }
    if (!visibleCommands(*command.app).empty()) {
        line += " COMMAND";
    }
    for (const CLI::Option* positional : optionsOf(*command.app, true, false)) {
        std::string name = positional->get_name(true);
        if (positional->get_expected_max() > 1) {
            name += "...";
        }
        line += ' ' + (positional->get_required() ? name : '[' + name + ']');
    }
    return line;
}

std::string optionItem(const CLI::Option& option) {
    std::string names;
    for (const std::string& name : flagNames(option)) {
        names += (names.empty() ? "\\fB" : ", \\fB") + roffName(name) + "\\fR";
    }
    if (takesValue(option)) {
        names += " \\fI" + roff(typeNameOf(option)) + "\\fR";
    }
    return ".TP\n" + names + '\n' + roff(option.get_description()) + '\n';
}

std::string positionalItem(const CLI::Option& option) {
    return ".TP\n\\fI" + roff(option.get_name(true)) + "\\fR\n" + roff(option.get_description()) +
           '\n';
}

// The footer of a command without the common exit statuses, which the page
// gives once; the command's own statuses stay under their heading. As it
// stands, lines unfilled.
std::string examplesOf(const CLI::App& app) {
    std::string footer = app.get_footer();
    const std::string common = exitStatusHelp();
    if (const std::size_t statuses = footer.find(common); statuses != std::string::npos) {
        const bool own = statuses + common.size() < footer.size();
        footer.replace(statuses, common.size(), own ? common.substr(0, common.find('\n') + 1) : "");
    }
    while (!footer.empty() && footer.back() == '\n') {
        footer.pop_back();
    }
    return footer.empty() ? std::string() : ".PP\n.nf\n" + roff(footer) + "\n.fi\n";
}

std::string exitStatusSection() {
    std::string section = ".SH \"EXIT STATUS\"\n";
    std::istringstream lines(exitStatusHelp());
    std::string line;
    std::getline(lines, line);  // the heading
    while (std::getline(lines, line)) {
        const std::size_t start = line.find_first_not_of(' ');
        const std::size_t gap = line.find("  ", start);
        section += ".TP\n.B " + line.substr(start, gap - start) + '\n' +
                   roff(line.substr(line.find_first_not_of(' ', gap))) + '\n';
    }
    return section;
}

std::string lowerFirst(std::string text) {
    if (!text.empty()) {
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    }
    return text;
}

// ---------------------------------------------------------------------------
// bash

std::string joined(const std::vector<std::string>& words, std::string_view separator = " ") {
    std::string out;
    for (const std::string& word : words) {
        if (!out.empty()) {
            out += separator;
        }
        out += word;
    }
    return out;
}

// The compgen arguments that complete a value of type `type`.
std::string compgenFor(const std::string& type, const ValueWords& words) {
    if (const auto found = words.find(type); found != words.end()) {
        return "-W '" + joined(found->second) + "'";
    }
    return type == "DIR" ? "-d" : "-f";
}

// The path of a command below the program, as the script keeps it: "" for
// the program, " layout export" for a command.
std::string scriptPath(const CommandPath& command, const CLI::App& root) {
    return command.path.substr(root.get_name().size());
}

}  // namespace

std::string manPage(const CLI::App& app, const std::string& version) {
    const std::vector<CommandPath> commands = commandsOf(app);
    std::string page =
        ".TH " + roff(app.get_name()) + " 1 \"\" \"" + roff(version) + "\" \"User Commands\"\n";
    page += ".SH NAME\n" + roffName(app.get_name()) + " \\- " +
            roff(lowerFirst(app.get_description())) + '\n';
    page += ".SH SYNOPSIS\n";
    for (const CommandPath& command : commands) {
        if (visibleCommands(*command.app).empty() || &command == &commands.front()) {
            page += ".B " + roff(synopsisOf(command)) + "\n.br\n";
        }
    }
    page += ".SH OPTIONS\n";
    for (const CLI::Option* option : optionsOf(app, false, true)) {
        page += optionItem(*option);
    }
    page += ".SH COMMANDS\n";
    for (std::size_t i = 1; i < commands.size(); ++i) {
        const CommandPath& command = commands[i];
        page += ".SS \"" + roff(synopsisOf(command)) + "\"\n" +
                roff(command.app->get_description()) + '\n';
        for (const CLI::Option* positional : optionsOf(*command.app, true, false)) {
            page += positionalItem(*positional);
        }
        for (const CLI::Option* option : optionsOf(*command.app, false, false)) {
            page += optionItem(*option);
        }
        page += examplesOf(*command.app);
    }
    page += exitStatusSection();
    const std::string examples = examplesOf(app);
    return examples.empty() ? page : page + ".SH EXAMPLES\n" + examples;
}

std::string bashCompletion(const CLI::App& app, const ValueWords& words) {
    const std::vector<CommandPath> commands = commandsOf(app);
    const std::string function = "_" + app.get_name();
    std::ostringstream script;
    script << "# bash completion of " << app.get_name() << ", written by `" << app.get_name()
           << " --generate-completion`.\n"
           << function << "() {\n"
           << "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
           << "    local path= i\n"
           << "    # The commands named so far; other words are options and values.\n"
           << "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           << "        case \"$path ${COMP_WORDS[i]}\" in\n";
    for (std::size_t i = 1; i < commands.size(); ++i) {
        script << "            '" << scriptPath(commands[i], app)
               << "') path+=\" ${COMP_WORDS[i]}\" ;;\n";
    }
    script << "        esac\n"
           << "    done\n"
           << "    local commands= options= values=()\n"
           << "    case \"$path\" in\n";
    for (const CommandPath& command : commands) {
        std::vector<std::string> names;
        for (const CLI::App* sub : visibleCommands(*command.app)) {
            names.push_back(sub->get_name());
        }
        std::vector<std::string> options;
        for (const CLI::Option* option : optionsOf(*command.app, false, true)) {
            for (const std::string& name : flagNames(*option)) {
                options.push_back(name);
            }
        }
        const std::vector<const CLI::Option*> positionals = optionsOf(*command.app, true, false);
        script << "        '" << scriptPath(command, app) << "')\n"
               << "            commands='" << joined(names) << "'\n"
               << "            options='" << joined(options) << "'\n";
        if (!positionals.empty()) {
            script << "            values=(" << compgenFor(typeNameOf(*positionals.front()), words)
                   << ")\n";
        }
        // The value of the option just typed.
        std::string cases;
        for (const CLI::Option* option : optionsOf(*command.app, false, false)) {
            if (!takesValue(*option)) {
                continue;
            }
            cases += "                " + joined(flagNames(*option), "|") + ")\n";
            cases += "                    COMPREPLY=($(compgen " +
                     compgenFor(typeNameOf(*option), words) + " -- \"$cur\"))\n" +
                     "                    return ;;\n";
        }
        if (!cases.empty()) {
            script << "            case \"$prev\" in\n" << cases << "            esac\n";
        }
        script << "            ;;\n";
    }
    script << "    esac\n"
           << "    if [[ $cur == -* ]]; then\n"
           << "        COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
           << "    elif [[ -n $commands ]]; then\n"
           << "        COMPREPLY=($(compgen -W \"$commands\" -- \"$cur\"))\n"
           << "    elif ((${#values[@]})); then\n"
           << "        COMPREPLY=($(compgen \"${values[@]}\" -- \"$cur\"))\n"
           << "    fi\n"
           << "}\n"
           << "complete -o filenames -F " << function << ' ' << app.get_name() << '\n';
    return script.str();
}

}  // namespace fluxgrid::tool
