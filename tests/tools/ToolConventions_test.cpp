// The conventions of the fluxgrid tool, run as a user runs it: its version,
// the refusal of unknown commands and table names with the nearest known
// one, the examples and exit statuses of every `--help`, the JSON of the
// layout tables, exported numbers in their shortest exact form, exports in
// MNE's head frame, the manual page and the bash completion.
#include <fluxgrid/fluxgrid.h>

#include "support/Harness.h"
#include "support/ProgramRun.h"
#include "support/ScratchDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using fluxgrid::test::linesOf;
using fluxgrid::test::ProgramRun;
using fluxgrid::test::runProgram;
using fluxgrid::test::ScratchDir;
using nlohmann::json;
using Vec = std::array<double, 3>;

const std::string kTool = FLUXGRID_TOOL_PATH;

ProgramRun tool(const std::vector<std::string>& args) {
    return runProgram(kTool, args);
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// ---------------------------------------------------------------------------
// The library's tables, as the test reads them.

struct TableRow {
    std::string name;
    Vec pos;
};

struct Table {
    std::string name;
    // The axes in three letters and the units in a metre, as the tables'
    // documentation gives them.
    std::string axes;
    double unitsPerMetre;
    std::vector<TableRow> rows;
};

template <class Row, std::size_t N>
Table tableOf(const char* name, const char* axes, double unitsPerMetre, const Row (&rows)[N]) {
    Table table{name, axes, unitsPerMetre, {}};
    for (const Row& row : rows) {
        table.rows.push_back({row.name.ToUtf8(), {row.posX, row.posY, row.posZ}});
    }
    return table;
}

const std::vector<Table>& tables() {
    static const std::vector<Table> all = {
        tableOf("eegLayout10", "LSP", 1000.0, eegLayout10),
        tableOf("eegLayout18", "LSP", 1000.0, eegLayout18),
        tableOf("eegLayout21", "LSP", 1000.0, eegLayout21),
        tableOf("eegLayout21Row", "LSP", 1000.0, eegLayout21Row),
        tableOf("eegSphere25", "ALS", 100.0 / 0.095, eegSphere25),
        tableOf("eegLayout32", "LSP", 1000.0, eegLayout32),
        tableOf("eegSphere33", "ALS", 100.0 / 0.095, eegSphere33),
        tableOf("eegSphere47", "ALS", 100.0 / 0.095, eegSphere47),
        tableOf("eegNet67", "RAS", 100.0, eegNet67),
        tableOf("eegNet260", "RAS", 100.0, eegNet260),
        tableOf("megLayout21", "LSP", 1000.0, megLayout21),
        tableOf("megLayout32", "LSP", 1000.0, megLayout32),
        tableOf("megTriaxial33", "LSP", 1000.0, megTriaxial33),
    };
    return all;
}

// RAS metres of a position, written out per frame: LSP (x, y, z) is
// (-x, -z, y), ALS is (-y, x, z), RAS stays.
Vec rasMetres(const Table& table, const Vec& p) {
    Vec ras = p;
    if (table.axes == "LSP") {
        ras = {-p[0], -p[2], p[1]};
    } else if (table.axes == "ALS") {
        ras = {-p[1], p[0], p[2]};
    }
    for (double& value : ras) {
        value = value / table.unitsPerMetre + 0.0;
    }
    return ras;
}

// ---------------------------------------------------------------------------
// Exports read back by hand.

std::vector<std::string> split(const std::string& line, char separator) {
    std::vector<std::string> fields;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, separator);) {
        fields.push_back(field);
    }
    return fields;
}

double numberOf(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    EXPECT_TRUE(!text.empty() && *end == '\0') << '"' << text << '"';
    return value;
}

struct ReadRow {
    std::string name;
    Vec pos;
    std::vector<std::string> numbers;  // every number as written
};

// The rows of an export in metres or in the unit the file names, as
// "name, x, y, z" reads them in each format.
std::vector<ReadRow> readExport(const std::string& text, const std::string& format) {
    std::vector<ReadRow> rows;
    const std::vector<std::string> lines = linesOf(text);
    if (format == "csv" || format == "tsv" || format == "sfp") {
        const char separator = format == "csv" ? ',' : '\t';
        for (std::size_t i = format == "sfp" ? 0 : 1; i < lines.size(); ++i) {
            const std::vector<std::string> f = split(lines[i], separator);
            ReadRow row{f.at(0), {numberOf(f.at(1)), numberOf(f.at(2)), numberOf(f.at(3))}, {}};
            const std::size_t numbers = format == "sfp" ? 4 : f.size() - 2;
            for (std::size_t j = 1; j < numbers; ++j) {
                if (!f[j].empty()) {
                    row.numbers.push_back(f[j]);
                }
            }
            rows.push_back(row);
        }
        return rows;
    }
    const auto positions = std::find(lines.begin(), lines.end(), "Positions");
    const auto labels = std::find(lines.begin(), lines.end(), "Labels");
    EXPECT_NE(labels, lines.end());
    for (auto line = positions + 1; line != labels; ++line) {
        std::vector<std::string> f = split(*line, ' ');
        rows.push_back({"", {numberOf(f.at(0)), numberOf(f.at(1)), numberOf(f.at(2))}, f});
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i].name = *(labels + 1 + static_cast<std::ptrdiff_t>(i));
    }
    return rows;
}

std::string elcUnit(const std::string& text) {
    for (const std::string& line : linesOf(text)) {
        if (line.starts_with("UnitPosition")) {
            return split(line, '\t').at(1);
        }
    }
    return "";
}

// The fewest significant digits that bring `value` back bit for bit,
// found by trying every precision of printf.
int fewestDigits(double value) {
    for (int digits = 1; digits < 17; ++digits) {
        char text[40];
        std::snprintf(text, sizeof text, "%.*e", digits - 1, value);
        if (std::strtod(text, nullptr) == value) {
            return digits;
        }
    }
    return 17;
}

// Significant digits as written: the digits of the mantissa without
// leading zeros and without trailing zeros.
int writtenDigits(const std::string& text) {
    std::string digits;
    for (char c : text.substr(0, text.find_first_of("eE"))) {
        if (c >= '0' && c <= '9') {
            digits += c;
        }
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    digits.erase(digits.find_last_not_of('0') + 1);
    return std::max(1, static_cast<int>(digits.size()));
}

void expectShortest(const std::string& written) {
    const double value = numberOf(written);
    EXPECT_EQ(writtenDigits(written), fewestDigits(value)) << written;
}

// ---------------------------------------------------------------------------
// version and commands

TEST(ToolConventions, VersionIsTheProjectVersion) {
    const ProgramRun run = tool({"--version"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "fluxgrid " FLUXGRID_VERSION "\n");
    EXPECT_EQ(run.err, "");
}

TEST(ToolConventions, UnknownCommandIsNamedWithTheNearestOne) {
    struct Case {
        std::vector<std::string> args;
        std::string line;
    };
    const std::vector<Case> cases = {
        {{"bogus"},
         "fluxgrid: unknown command \"bogus\"; did you mean \"info\"? (commands: info, migrate, "
         "layout, check, view, demo)\n"},
        {{"migrat", "x.sensor"},
         "fluxgrid: unknown command \"migrat\"; did you mean \"migrate\"? (commands: info, "
         "migrate, layout, check, view, demo)\n"},
        {{"layout", "bogus"},
         "fluxgrid layout: unknown command \"bogus\"; did you mean \"list\"? (commands: list, "
         "show, export, plot)\n"},
        {{"layout", "expor", "eegLayout10"},
         "fluxgrid layout: unknown command \"expor\"; did you mean \"export\"? (commands: list, "
         "show, export, plot)\n"},
    };
    for (const Case& c : cases) {
        const ProgramRun run = tool(c.args);
        EXPECT_EQ(run.status, 2) << c.args.front();
        EXPECT_EQ(run.err, c.line);
        EXPECT_EQ(run.out, "");
    }
}

TEST(ToolConventions, UnknownTableIsBadUsageWithTheNearestName) {
    ScratchDir scratch;
    const std::vector<std::vector<std::string>> commands = {
        {"layout", "show", "megLayot32"},
        {"layout", "export", "megLayot32", "--format", "csv"},
        {"layout", "plot", "megLayot32", "-o", scratch.file("plot.svg")},
    };
    for (const auto& command : commands) {
        const ProgramRun run = tool(command);
        EXPECT_EQ(run.status, 2) << command[1];
        EXPECT_EQ(run.err,
                  "fluxgrid: no layout table called \"megLayot32\"; did you mean "
                  "\"megLayout32\"? (`fluxgrid layout list` names them all)\n");
    }
    EXPECT_FALSE(fs::exists(scratch.file("plot.svg")));
    const ProgramRun nope = tool({"layout", "show", "nope"});
    EXPECT_EQ(nope.status, 2);
    EXPECT_TRUE(contains(nope.err, "\"nope\"; did you mean \"")) << nope.err;
}

TEST(ToolConventions, HelpOfEveryCommandShowsAnExampleAndTheExitStatuses) {
    const std::vector<std::vector<std::string>> commands = {{},
                                                            {"info"},
                                                            {"migrate"},
                                                            {"layout"},
                                                            {"layout", "list"},
                                                            {"layout", "show"},
                                                            {"layout", "export"},
                                                            {"layout", "plot"},
                                                            {"demo"}};
    for (const auto& command : commands) {
        std::vector<std::string> args = command;
        args.push_back("--help");
        const ProgramRun run = tool(args);
        std::string path = "fluxgrid";
        for (const std::string& word : command) {
            path += ' ' + word;
        }
        SCOPED_TRACE(path);
        EXPECT_EQ(run.status, 0);
        const std::vector<std::string> lines = linesOf(run.out);
        const auto example = std::find_if(lines.begin(), lines.end(), [](const std::string& l) {
            return l == "Example:" || l == "Examples:";
        });
        ASSERT_NE(example, lines.end()) << run.out;
        EXPECT_TRUE((example + 1)->starts_with("  " + path + ' ')) << *(example + 1);
        const auto status = std::find(lines.begin(), lines.end(), "Exit status:");
        ASSERT_NE(status, lines.end()) << run.out;
        ASSERT_GE(lines.end() - status, 4);
        EXPECT_TRUE((status + 1)->starts_with("  0  ")) << *(status + 1);
        EXPECT_TRUE((status + 2)->starts_with("  1  ")) << *(status + 2);
        EXPECT_EQ(*(status + 3), "  2  bad usage");
    }
}

// ---------------------------------------------------------------------------
// JSON of the tables

TEST(ToolConventions, ListJsonNamesEveryTableWithItsFrame) {
    const ProgramRun run = tool({"layout", "list", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const json all = json::parse(run.out);
    EXPECT_EQ(all.dump(2) + "\n", run.out);
    ASSERT_EQ(all.size(), tables().size());
    for (std::size_t i = 0; i < tables().size(); ++i) {
        const Table& table = tables()[i];
        const json& entry = all.at(i);
        EXPECT_EQ(entry.at("name"), table.name);
        EXPECT_EQ(entry.at("rows"), table.rows.size());
        EXPECT_EQ(entry.at("axesCode"), table.axes);
        EXPECT_EQ(entry.at("kind"), table.name.starts_with("meg") ? "MEG" : "EEG");
    }
    EXPECT_EQ(all.at(0).at("frame"), "head");
    EXPECT_EQ(all.at(0).at("unit"), "mm");
    EXPECT_EQ(all.at(4).at("frame"), "sphere");
    EXPECT_EQ(all.at(4).at("unit"), "");
    EXPECT_EQ(all.at(9).at("frame"), "net");
    EXPECT_EQ(all.at(9).at("unit"), "cm");
}

TEST(ToolConventions, ShowJsonGivesEveryRowBitForBit) {
    for (const Table& table : tables()) {
        SCOPED_TRACE(table.name);
        const ProgramRun run = tool({"layout", "show", table.name, "--json"});
        ASSERT_EQ(run.status, 0) << run.err;
        const json shown = json::parse(run.out);
        EXPECT_EQ(shown.at("name"), table.name);
        const json& rows = shown.at("rows");
        ASSERT_EQ(rows.size(), table.rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(rows[i].at("name"), table.rows[i].name);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_BITS_EQ(rows[i].at("pos").at(axis).get<double>(), table.rows[i].pos[axis]);
            }
            EXPECT_EQ(rows[i].at("orn").is_null(), !table.name.starts_with("meg"));
        }
    }
    const json meg = json::parse(tool({"layout", "show", "megLayout21", "--json"}).out);
    EXPECT_BITS_EQ(meg.at("rows").at(3).at("orn").at(1).get<double>(), megLayout21[3].ornY);
    EXPECT_EQ(meg.at("rows").at(19).at("typeName"), "MEG_REF");
}

// ---------------------------------------------------------------------------
// exported numbers

TEST(ToolConventions, ExportedNumbersAreTheShortestThatReadBackBitForBit) {
    for (const Table& table : tables()) {
        for (const std::string format : {"csv", "tsv", "sfp", "elc"}) {
            SCOPED_TRACE(table.name + " " + format);
            const ProgramRun run = tool({"layout", "export", table.name, "--format", format});
            ASSERT_EQ(run.status, 0) << run.err;
            const std::vector<ReadRow> rows = readExport(run.out, format);
            ASSERT_EQ(rows.size(), table.rows.size());
            // The nets' centimetres come out of an .elc as millimetres.
            const double scale = format == "elc" && table.axes == "RAS" ? 10.0 : 1.0;
            for (std::size_t i = 0; i < rows.size(); ++i) {
                EXPECT_EQ(rows[i].name, table.rows[i].name);
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    EXPECT_BITS_EQ(rows[i].pos[axis], table.rows[i].pos[axis] * scale);
                }
                for (const std::string& number : rows[i].numbers) {
                    expectShortest(number);
                }
            }
        }
    }
    // 70.84885 was written as 70.848849999999999 before.
    const ProgramRun csv = tool({"layout", "export", "eegLayout10", "--format", "csv"});
    EXPECT_EQ(linesOf(csv.out).at(1), "FP1,30.0,70.84885,-104.70795,302,EEG_SNSR");
}

TEST(ToolConventions, EveryElcStatesMetresOrMillimetres) {
    for (const Table& table : tables()) {
        for (const std::string frame : {"native", "ras"}) {
            const ProgramRun run =
                tool({"layout", "export", table.name, "--format", "elc", "--frame", frame});
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_EQ(elcUnit(run.out), frame == "ras" ? "m" : "mm") << table.name << ' ' << frame;
        }
    }
}

// ---------------------------------------------------------------------------
// exports in RAS

// The first of `names` that the rows hold.
const ReadRow* findRow(const std::vector<ReadRow>& rows, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        for (const ReadRow& row : rows) {
            if (row.name == name) {
                return &row;
            }
        }
    }
    return nullptr;
}

TEST(ToolConventions, RasExportsHaveTheNoseInFrontTheLeftEarLeftAndTheVertexUp) {
    for (const Table& table : tables()) {
        for (const std::string format : {"csv", "tsv", "sfp", "elc"}) {
            SCOPED_TRACE(table.name + " " + format);
            const ProgramRun run =
                tool({"layout", "export", table.name, "--format", format, "--frame", "ras"});
            ASSERT_EQ(run.status, 0) << run.err;
            const std::vector<ReadRow> rows = readExport(run.out, format);
            ASSERT_EQ(rows.size(), table.rows.size());
            for (std::size_t i = 0; i < rows.size(); ++i) {
                const Vec expected = rasMetres(table, table.rows[i].pos);
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    EXPECT_BITS_EQ(rows[i].pos[axis], expected[axis]) << rows[i].name;
                }
            }
            if (table.name.starts_with("meg")) {
                // MLxx on the subject's left, MRxx on the right.
                for (const ReadRow& row : rows) {
                    if (row.name.starts_with("ML")) {
                        EXPECT_LT(row.pos[0], 0.0) << row.name;
                    } else if (row.name.starts_with("MR")) {
                        EXPECT_GT(row.pos[0], 0.0) << row.name;
                    }
                }
                continue;
            }
            const ReadRow* front = findRow(rows, {"FZ", "Fz", "FidNz", "FP1"});
            const ReadRow* left = findRow(rows, {"A1", "T7", "T3", "FidT9"});
            ASSERT_NE(front, nullptr);
            ASSERT_NE(left, nullptr);
            EXPECT_GT(front->pos[1], 0.0) << front->name;
            EXPECT_LT(left->pos[0], 0.0) << left->name;
            double top = 0.0;
            for (const ReadRow& row : rows) {
                top = std::max(top, row.pos[2]);
            }
            EXPECT_GT(top, left->pos[2]);
            if (const ReadRow* vertex = findRow(rows, {"CZ", "Cz", "C3"})) {
                EXPECT_GT(vertex->pos[2], 0.9 * top) << vertex->name;
            }
        }
    }
}

// ---------------------------------------------------------------------------
// manual page and completion

const fs::path kManPage = FLUXGRID_MAN_PAGE;
const fs::path kCompletion = FLUXGRID_BASH_COMPLETION;

TEST(ToolConventions, ManPageFormatsWithoutWarningsAndDescribesEveryCommand) {
    ASSERT_TRUE(fs::exists(kManPage));
    std::ifstream in(kManPage);
    std::ostringstream source;
    source << in.rdbuf();
    const std::string page = source.str();
    EXPECT_TRUE(page.starts_with(".TH fluxgrid 1 \"\" \"fluxgrid " FLUXGRID_VERSION "\""));
    for (const std::string section : {".SH NAME", ".SH SYNOPSIS", ".SH OPTIONS", ".SH COMMANDS",
                                      ".SH \"EXIT STATUS\"", ".SH EXAMPLES"}) {
        EXPECT_TRUE(contains(page, "\n" + section + "\n")) << section;
    }
    for (const std::string command :
         {".SS \"fluxgrid info [OPTIONS] FILE...\"", ".SS \"fluxgrid migrate [OPTIONS] FILE...\"",
          ".SS \"fluxgrid layout list [OPTIONS]\"", ".SS \"fluxgrid layout show [OPTIONS] NAME\"",
          ".SS \"fluxgrid layout export [OPTIONS] NAME\"",
          ".SS \"fluxgrid layout plot [OPTIONS] NAME\"", ".SS \"fluxgrid demo [OPTIONS] [DIR]\""}) {
        EXPECT_TRUE(contains(page, "\n" + command + "\n")) << command;
    }
    EXPECT_TRUE(contains(page, "\\fB\\-\\-frame\\fR \\fIFRAME\\fR\n"));
    EXPECT_FALSE(contains(page, "generate")) << "hidden options stay out of the page";
    // groff's strictest warnings, which `man --warnings` runs too, where
    // groff is installed; the structure above stands everywhere.
    if (!fs::exists("/usr/bin/groff")) {
        std::cout << "groff is not installed: the page's structure alone is checked\n";
        return;
    }
    const ProgramRun groff =
        runProgram("/usr/bin/groff", {"-ww", "-man", "-Tutf8", kManPage.string()});
    EXPECT_EQ(groff.status, 0);
    EXPECT_EQ(groff.err, "");
    EXPECT_TRUE(contains(groff.out, "bad usage"));
}

// Completes the words as bash does when Tab is pressed behind the last.
std::vector<std::string> complete(const std::vector<std::string>& words) {
    std::string array;
    for (const std::string& word : words) {
        array += " '" + word + "'";
    }
    const std::string script = "source '" + kCompletion.string() + "'; COMP_WORDS=(" + array +
                               "); COMP_CWORD=" + std::to_string(words.size() - 1) +
                               "; _fluxgrid; printf '%s\\n' \"${COMPREPLY[@]}\"";
    const ProgramRun run = runProgram("/bin/bash", {"--norc", "-c", script});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    std::vector<std::string> lines = linesOf(run.out);
    lines.erase(std::remove(lines.begin(), lines.end(), ""), lines.end());
    std::sort(lines.begin(), lines.end());
    return lines;
}

using Words = std::vector<std::string>;

TEST(ToolConventions, BashCompletionCompletesCommandsTablesAndValues) {
    ASSERT_TRUE(fs::exists(kCompletion));
    EXPECT_EQ(complete({"fluxgrid", ""}),
              (Words{"check", "demo", "info", "layout", "migrate", "view"}));
    EXPECT_EQ(complete({"fluxgrid", "la"}), (Words{"layout"}));
    EXPECT_EQ(complete({"fluxgrid", "--v"}), (Words{"--version"}));
    EXPECT_EQ(complete({"fluxgrid", "layout", ""}), (Words{"export", "list", "plot", "show"}));
    EXPECT_EQ(complete({"fluxgrid", "layout", "show", "meg"}),
              (Words{"megLayout21", "megLayout32", "megTriaxial33"}));
    EXPECT_EQ(complete({"fluxgrid", "layout", "export", "eegNet"}),
              (Words{"eegNet260", "eegNet67"}));
    EXPECT_EQ(complete({"fluxgrid", "layout", "export", "eegNet67", "--format", ""}),
              (Words{"csv", "elc", "sfp", "tsv"}));
    EXPECT_EQ(complete({"fluxgrid", "layout", "export", "eegNet67", "--frame", "r"}),
              (Words{"ras"}));
    EXPECT_EQ(complete({"fluxgrid", "layout", "export", "eegNet67", "--fr"}), (Words{"--frame"}));
    EXPECT_EQ(complete({"fluxgrid", "layout", "list", "--"}), (Words{"--help", "--json"}));
    // Table names are no commands: a table word does not change the level.
    EXPECT_EQ(complete({"fluxgrid", "info", "layout", "--j"}), (Words{"--json"}));
}

}  // namespace
