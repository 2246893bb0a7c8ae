/// \file Layout.h
/// `fluxgrid layout`: the thirteen constant channel layout tables, listed,
/// printed, exported and drawn.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace fluxgrid::tool {

/// The `layout` command and its four commands on a command line, with the
/// values they were given.
class LayoutCommand {
  public:
    /// Adds `layout` with `list`, `show`, `export` and `plot` to `app`.
    explicit LayoutCommand(CLI::App& app);

    /// Whether `layout` was on the parsed command line.
    bool parsed() const;
    /// Runs the command that was parsed; returns the exit status.
    int run() const;

  private:
    CLI::App* m_list;
    CLI::App* m_show;
    CLI::App* m_export;
    CLI::App* m_plot;
    std::string m_table;
    std::string m_format;
    std::string m_frame = "native";
    std::string m_out;
    bool m_json = false;
};

/// The names of all tables, in the library's order.
std::vector<std::string> layoutNames();
/// The names that `--frame` takes.
std::vector<std::string> layoutFrameNames();

/// The commands. Each returns the exit status; a name that is no table is
/// bad usage.
int runLayoutList(bool json);
int runLayoutShow(const std::string& name, bool json);
/// `format` is csv, tsv, sfp or elc, `frame` native or ras; the text goes
/// to `out`, or to standard output when `out` is empty or "-".
int runLayoutExport(const std::string& name, const std::string& format, const std::string& frame,
                    const std::string& out);
int runLayoutPlot(const std::string& name, const std::string& out);

}  // namespace fluxgrid::tool
