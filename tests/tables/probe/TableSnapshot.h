// A module of its own that a host would be: its static initialiser reads
// every layout table while the process loads, before main, and keeps what
// it saw.
#pragma once

#include <string>
#include <vector>

namespace fluxgrid::test {

struct SnapshotRow {
    std::u16string name;
    /// posX, posY, posZ, then ornX, ornY, ornZ for a MEG row.
    std::vector<double> values;
    /// electrodeKind and sensorType of an EEG row; sensorType of a MEG row.
    std::vector<int> codes;
};

struct TableSnapshot {
    std::string table;
    std::vector<SnapshotRow> rows;
};

/// The thirteen tables as this module's static initialiser read them.
const std::vector<TableSnapshot>& tablesSeenAtLoad();

/// True once this module's static initialiser has run; it runs when the
/// module is loaded, before main.
bool snapshotTakenAtLoad();

}  // namespace fluxgrid::test
