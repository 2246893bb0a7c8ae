#include "CommandLine.h"

#include "Suggest.h"

#include <algorithm>
#include <utility>

namespace fluxgrid::tool {

std::string exitStatusHelp() {
    return "Exit status:\n"
           "  0  the work is done\n"
           "  1  some of the work failed (each failure is named on standard error)\n"
           "  2  bad usage\n";
}

std::string helpFooter(std::initializer_list<std::string_view> examples,
                       std::string_view moreStatuses) {
    std::string footer = examples.size() == 1 ? "Example:\n" : "Examples:\n";
    for (std::string_view example : examples) {
        footer += "  ";
        footer += example;
        footer += '\n';
    }
    return footer + '\n' + exitStatusHelp() + std::string(moreStatuses);
}

std::string unknownCommandLine(std::string_view parent, std::string_view given,
                               std::span<const std::string> known) {
    std::string line = std::string(parent) + ": unknown command \"" + std::string(given) +
                       "\"; did you mean \"" + nearestName(given, known) + "\"? (commands:";
    for (std::size_t i = 0; i < known.size(); ++i) {
        line += (i == 0 ? " " : ", ") + known[i];
    }
    return line + ")";
}

std::vector<const CLI::App*> visibleCommands(const CLI::App& app) {
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_group().empty(); });
}

std::optional<std::string> checkCommandNames(const CLI::App& app,
                                             std::span<const std::string> args) {
    const CLI::App* current = &app;
    std::string path = app.get_name();
    bool optionValue = false;
    for (const std::string& arg : args) {
        const std::vector<const CLI::App*> commands = visibleCommands(*current);
        if (commands.empty() || arg == "--") {
            break;
        }
        if (std::exchange(optionValue, false)) {
            continue;
        }
        if (arg.starts_with('-')) {
            const CLI::Option* option = current->get_option_no_throw(arg);
            optionValue = option != nullptr && option->get_items_expected_min() > 0;
            continue;
        }
        std::vector<std::string> names;
        for (const CLI::App* command : commands) {
            names.push_back(command->get_name());
        }
        const auto found = std::find(names.begin(), names.end(), arg);
        if (found == names.end()) {
            return unknownCommandLine(path, arg, names);
        }
        current = commands[static_cast<std::size_t>(found - names.begin())];
        path += ' ' + arg;
    }
    return std::nullopt;
}

}  // namespace fluxgrid::tool
