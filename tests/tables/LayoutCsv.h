// Reading the plain transcriptions of the layout tables kept under data/:
// one file per table, a header line, then one row per line with the label
// and the numbers exactly as the layout writes them.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#ifndef FLUXGRID_TABLES_DATA_DIR
// ctest runs the tables' tests in their source folder.
#define FLUXGRID_TABLES_DATA_DIR "data"
#endif

namespace fluxgrid::test {

struct CsvTable {
    std::vector<std::string> header;
    std::vector<std::vector<std::string>> rows;
};

inline std::vector<std::string> splitCsvLine(const std::string& line) {
    std::vector<std::string> cells;
    std::string cell;
    std::istringstream in(line);
    while (std::getline(in, cell, ',')) {
        cells.push_back(cell);
    }
    return cells;
}

/// The transcription of table `name`; throws if the file is missing or a
/// row has another number of cells than the header.
inline CsvTable readLayoutCsv(const std::string& name) {
    const std::string path = std::string(FLUXGRID_TABLES_DATA_DIR) + "/" + name + ".csv";
    std::ifstream in(path);
    if (!in) {
        throw std::runtime_error("cannot open " + path);
    }
    CsvTable table;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.empty()) {
            continue;
        }
        auto cells = splitCsvLine(line);
        if (table.header.empty()) {
            table.header = std::move(cells);
        } else if (cells.size() != table.header.size()) {
            throw std::runtime_error(path + ": row of another width: " + line);
        } else {
            table.rows.push_back(std::move(cells));
        }
    }
    return table;
}

/// The double that a decimal text denotes, rounded as the compiler rounds a
/// literal; throws unless the whole text is a number.
inline double parseDecimal(const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size() || errno != 0) {
        throw std::runtime_error("not a number: '" + text + "'");
    }
    return value;
}

/// The integer that a decimal text denotes; throws unless the whole text is
/// one.
inline int parseInteger(const std::string& text) {
    std::size_t used = 0;
    const int value = std::stoi(text, &used);
    if (used != text.size()) {
        throw std::runtime_error("not an integer: '" + text + "'");
    }
    return value;
}

}  // namespace fluxgrid::test
