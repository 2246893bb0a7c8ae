// The pure parts behind the tool's conventions, without running it: the
// shortest exact numbers shared by the exports and the JSON, the nearest
// name for a mistyped one, the refusal of unknown command names, and the
// manual page and completion written from a command line, and the table of
// the tool's commands.
#include "ChannelExport.h"
#include "CommandLine.h"
#include "CommandLineDocs.h"
#include "Commands.h"
#include "Format.h"
#include "JsonWriter.h"
#include "Suggest.h"

#include "support/Harness.h"

#include <fluxgrid/tables/Layouts.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using fluxgrid::tool::shortestNumber;
using Vec = std::array<double, 3>;

// ---------------------------------------------------------------------------
// shortest numbers

TEST(ShortestNumber, WritesTheShortestDigitsInTheLayoutOfJson) {
    const std::vector<std::pair<double, std::string>> cases = {
        {70.84885, "70.84885"},
        {2.08226, "2.08226"},
        {0.1, "0.1"},
        {-104.70795, "-104.70795"},
        {100.0, "100.0"},
        {0.0, "0.0"},
        {-0.0, "-0.0"},
        {123456789012345.0, "123456789012345.0"},
        {1e15, "1e+15"},
        {1.5e20, "1.5e+20"},
        {0.0001, "0.0001"},
        {0.00012, "0.00012"},
        {0.00001, "1e-05"},
        {-1.5e-300, "-1.5e-300"},
        {1e300, "1e+300"},
        {5e-324, "5e-324"},
        {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
        {std::numeric_limits<double>::quiet_NaN(), "nan"},
        {-std::numeric_limits<double>::infinity(), "-inf"},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(shortestNumber(value), text);
    }
}

TEST(ShortestNumber, ReadsBackBitForBitAndIsNeverLongerThanDump) {
    std::mt19937_64 random(20260101);
    for (int i = 0; i < 20000; ++i) {
        const double value = std::bit_cast<double>(random());
        if (!std::isfinite(value)) {
            continue;
        }
        const std::string text = shortestNumber(value);
        EXPECT_BITS_EQ(std::strtod(text.c_str(), nullptr), value);
        EXPECT_LE(text.size(), nlohmann::json(value).dump().size()) << text;
    }
    // Numbers of a few digits, as the tables hold them.
    std::uniform_int_distribution<int> digits(-9999999, 9999999);
    for (int i = 0; i < 20000; ++i) {
        const double value = digits(random) / 100000.0;
        const std::string text = shortestNumber(value);
        EXPECT_BITS_EQ(std::strtod(text.c_str(), nullptr), value);
        EXPECT_LE(text.size(), nlohmann::json(value).dump().size()) << text;
    }
}

TEST(ShortestNumber, JsonWriterWritesRealsWithItAndNullWithoutDigits) {
    std::ostringstream text;
    fluxgrid::tool::JsonWriter out(text);
    out.beginArray();
    out.real(2.08226);
    out.real(std::numeric_limits<double>::quiet_NaN());
    out.real(std::numeric_limits<double>::infinity());
    out.endArray();
    EXPECT_EQ(text.str(), "[\n  2.08226,\n  null,\n  null\n]");
}

// ---------------------------------------------------------------------------
// nearest names

TEST(Suggest, CountsEditsWithoutRegardToCase) {
    using fluxgrid::tool::editDistance;
    EXPECT_EQ(editDistance("kitten", "sitting"), 3u);
    EXPECT_EQ(editDistance("", "abc"), 3u);
    EXPECT_EQ(editDistance("abc", ""), 3u);
    EXPECT_EQ(editDistance("megLayout32", "MEGLAYOUT32"), 0u);
    EXPECT_EQ(editDistance("megLayot32", "megLayout32"), 1u);
}

TEST(Suggest, NearestNameIsTheFirstOfTheFewestEdits) {
    using fluxgrid::tool::nearestName;
    const std::vector<std::string> names = {"info", "migrate", "layout", "demo"};
    EXPECT_EQ(nearestName("migrat", names), "migrate");
    EXPECT_EQ(nearestName("LAYOUT", names), "layout");
    EXPECT_EQ(nearestName("dem", names), "demo");
    EXPECT_EQ(nearestName("xxxx", names), "info");  // all four edits: the first
    EXPECT_EQ(nearestName("info", std::vector<std::string>{}), "");
}

// ---------------------------------------------------------------------------
// exports

using fluxgrid::tool::ExportFormat;

TEST(ChannelExportFormats, TsvIsTheCsvWithTabs) {
    const std::vector<fluxgrid::tool::ChannelRow> rows = {
        {"A", {1.0, -2.5, 0.1}, Vec{0.0, 0.0, 1.0}, 100}};
    EXPECT_EQ(fluxgrid::tool::exportRows(rows, ExportFormat::tsv, {}),
              "name\tx\ty\tz\tornX\tornY\tornZ\tsensorType\ttypeName\n"
              "A\t1.0\t-2.5\t0.1\t0.0\t0.0\t1.0\t100\tMEG_SNSR\n");
    EXPECT_EQ(fluxgrid::tool::exportFormatNamed("tsv"), ExportFormat::tsv);
    EXPECT_EQ(fluxgrid::tool::exportFormatNames(),
              (std::vector<std::string>{"csv", "tsv", "sfp", "elc"}));
}

TEST(ChannelExportFormats, ElcWritesCentimetresAsMillimetresAndKeepsMetres) {
    const std::vector<fluxgrid::tool::ChannelRow> rows = {
        {"Cz", {0.5, -2.25, 8.0}, std::nullopt, 302}};
    EXPECT_EQ(fluxgrid::tool::exportRows(rows, ExportFormat::elc, {"net", "net", "axes", "cm"}),
              "# ASA electrode file\n# net, net frame: axes\nReferenceLabel\tavg\n"
              "UnitPosition\tmm\nNumberPositions=\t1\nPositions\n5.0 -22.5 80.0\nLabels\nCz\n");
    const std::string metres =
        fluxgrid::tool::exportRows(rows, ExportFormat::elc, {"t", "RAS", "axes", "m"});
    EXPECT_NE(metres.find("UnitPosition\tm\n"), std::string::npos);
    EXPECT_NE(metres.find("\n0.5 -2.25 8.0\n"), std::string::npos);
}

// ---------------------------------------------------------------------------
// command line

struct SmallApp {
    CLI::App app{"Does things. A backslash \\ stays.", "prog"};
    std::string value;
    std::string name;
    SmallApp() {
        app.add_option("--opt", value, "An option with a value")->type_name("WORD");
        auto* a = app.add_subcommand("alpha", "The first");
        a->add_option("NAME", name, "A name")->required()->type_name("TABLE");
        a->footer(fluxgrid::tool::helpFooter({"prog alpha x"}));
        auto* b = app.add_subcommand("beta", ".starts with a dot");
        b->add_subcommand("gamma", "Below beta");
        app.add_subcommand("hidden", "Not shown")->group("");
    }
};

TEST(CommandNames, UnknownOnesAreNamedWithTheNearestAndTheKnownOnes) {
    SmallApp small;
    using Args = std::vector<std::string>;
    EXPECT_EQ(fluxgrid::tool::checkCommandNames(small.app, Args{"alpah"}),
              "prog: unknown command \"alpah\"; did you mean \"alpha\"? (commands: alpha, beta)");
    EXPECT_EQ(fluxgrid::tool::checkCommandNames(small.app, Args{"beta", "gama"}),
              "prog beta: unknown command \"gama\"; did you mean \"gamma\"? (commands: gamma)");
    EXPECT_EQ(fluxgrid::tool::checkCommandNames(small.app, Args{"--opt", "value", "alpha", "x"}),
              std::nullopt);
    EXPECT_EQ(fluxgrid::tool::checkCommandNames(small.app, Args{"alpha", "anything"}),
              std::nullopt);
    EXPECT_EQ(fluxgrid::tool::checkCommandNames(small.app, Args{"--help"}), std::nullopt);
    EXPECT_EQ(fluxgrid::tool::checkCommandNames(small.app, Args{}), std::nullopt);
    EXPECT_NE(fluxgrid::tool::checkCommandNames(small.app, Args{"hidden"}), std::nullopt);
}

TEST(CommandLineDocs, ManPageEscapesRoffAndListsCommandsOptionsAndExamples) {
    SmallApp small;
    const std::string page = fluxgrid::tool::manPage(small.app, "prog 1.2.3");
    EXPECT_TRUE(
        page.starts_with(".TH prog 1 \"\" \"prog 1.2.3\" \"User Commands\"\n"
                         ".SH NAME\nprog \\- does things. A backslash \\e stays.\n"));
    EXPECT_NE(page.find("\n.TP\n\\fB\\-\\-opt\\fR \\fIWORD\\fR\nAn option with a value\n"),
              std::string::npos);
    EXPECT_NE(page.find("\n.SS \"prog alpha [OPTIONS] NAME\"\nThe first\n.TP\n\\fINAME\\fR\n"),
              std::string::npos);
    EXPECT_NE(page.find("\n.PP\n.nf\nExample:\n  prog alpha x\n.fi\n"), std::string::npos);
    EXPECT_NE(page.find("\n\\&.starts with a dot\n"), std::string::npos);
    EXPECT_NE(page.find("\n.TP\n.B 2\nbad usage\n"), std::string::npos);
    EXPECT_EQ(page.find("hidden"), std::string::npos);
}

TEST(CommandLineDocs, CompletionKnowsEveryLevelAndTheValuesOfTypes) {
    SmallApp small;
    const std::string script = fluxgrid::tool::bashCompletion(small.app, {{"TABLE", {"t1", "t2"}}});
    EXPECT_NE(script.find("            ' beta gamma') path+=\" ${COMP_WORDS[i]}\" ;;\n"),
              std::string::npos);
    EXPECT_NE(script.find("        ' alpha')\n            commands=''\n"
                          "            options='-h --help'\n            values=(-W 't1 t2')\n"),
              std::string::npos);
    EXPECT_NE(script.find("            commands='alpha beta'\n"
                          "            options='-h --help --opt'\n"),
              std::string::npos);
    EXPECT_NE(script.find("complete -o filenames -F _prog prog\n"), std::string::npos);
    EXPECT_EQ(script.find("hidden"), std::string::npos);
}

// ---------------------------------------------------------------------------
// the table of commands

// The tool's command line as the program builds it from the table.
struct ToolApp {
    CLI::App app{"The tool", "fluxgrid"};
    std::vector<fluxgrid::tool::Command> commands;
    ToolApp() {
        for (const fluxgrid::tool::AddCommand add : fluxgrid::tool::kCommands) {
            commands.push_back(add(app));
        }
    }
};

TEST(CommandTable, AddsEveryCommandInTheOrderOfHelpWithItsExamplesAndRun) {
    const ToolApp tool;
    const std::vector<const CLI::App*> shown = fluxgrid::tool::visibleCommands(tool.app);
    std::vector<std::string> names;
    for (const CLI::App* command : shown) {
        names.push_back(command->get_name());
    }
    EXPECT_EQ(names,
              (std::vector<std::string>{"info", "migrate", "layout", "check", "view", "demo"}));
    ASSERT_EQ(tool.commands.size(), shown.size());
    for (std::size_t i = 0; i < shown.size(); ++i) {
        SCOPED_TRACE(names[i]);
        EXPECT_EQ(tool.commands[i].app, shown[i]);
        EXPECT_TRUE(tool.commands[i].run);
        EXPECT_NE(shown[i]->get_footer().find("fluxgrid " + names[i]), std::string::npos);
        EXPECT_NE(shown[i]->get_footer().find("Exit status:"), std::string::npos);
    }
}

TEST(CommandTable, LayoutGivesTheWordsOfItsTablesFormatsAndFrames) {
    const ToolApp tool;
    const fluxgrid::tool::ValueWords& words = tool.commands.at(2).words;
    const auto tables = fluxgrid::layoutTables();
    ASSERT_EQ(words.at("TABLE").size(), tables.size());
    for (std::size_t i = 0; i < tables.size(); ++i) {
        EXPECT_EQ(words.at("TABLE")[i], tables[i].name);
    }
    EXPECT_EQ(words.at("FORMAT"), (std::vector<std::string>{"csv", "tsv", "sfp", "elc"}));
    EXPECT_EQ(words.at("FRAME"), (std::vector<std::string>{"native", "ras"}));
    EXPECT_TRUE(tool.commands.at(0).words.empty());
}

// What the parse of `args` refuses, in CLI11's words; empty when it parses.
std::string parseRefusal(const std::string& args) {
    ToolApp tool;
    try {
        tool.app.parse(args, false);
    } catch (const CLI::ValidationError& e) {
        return e.what();
    }
    return {};
}

TEST(CommandTable, MigrateRefusesInTheParseWhatCli11CannotCheck) {
    EXPECT_EQ(parseRefusal("migrate old.sensor"),
              "migrate: one of --out-dir DIR or --in-place is required");
    EXPECT_EQ(parseRefusal("migrate --in-place --inject-write-fault crash:10 old.sensor"),
              "--inject-write-fault: expects kill:N, nospace:N or stop:N");
    EXPECT_EQ(parseRefusal("migrate --out-dir new old.sensor"), "");
    ToolApp tool;
    tool.app.parse("migrate --in-place old.sensor", false);
    EXPECT_TRUE(tool.commands.at(1).app->parsed());
    EXPECT_FALSE(tool.commands.at(0).app->parsed());
    EXPECT_FALSE(tool.commands.at(2).app->parsed());
}

}  // namespace
