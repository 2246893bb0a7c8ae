#include "TableSnapshot.h"

#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/MegLayouts.h>

#include <iterator>

namespace fluxgrid::test {
namespace {

template <std::size_t N>
TableSnapshot snapshotOf(const char* table, const EEG_NAME_POS_TYPE (&rows)[N]) {
    TableSnapshot snapshot{table, {}};
    for (const auto& row : rows) {
        snapshot.rows.push_back(
            {row.name.str(), {row.posX, row.posY, row.posZ}, {row.electrodeKind, row.sensorType}});
    }
    return snapshot;
}

template <std::size_t N>
TableSnapshot snapshotOf(const char* table, const MEG_OPM_NAME_POS_TYPE (&rows)[N]) {
    TableSnapshot snapshot{table, {}};
    for (const auto& row : rows) {
        snapshot.rows.push_back({row.name.str(),
                                 {row.posX, row.posY, row.posZ, row.ornX, row.ornY, row.ornZ},
                                 {row.sensorType}});
    }
    return snapshot;
}

std::vector<TableSnapshot> readAllTables() {
    return {snapshotOf("eegLayout10", eegLayout10),    snapshotOf("eegLayout18", eegLayout18),
            snapshotOf("eegLayout21", eegLayout21),    snapshotOf("eegLayout21Row", eegLayout21Row),
            snapshotOf("eegSphere25", eegSphere25),    snapshotOf("eegLayout32", eegLayout32),
            snapshotOf("eegSphere33", eegSphere33),    snapshotOf("eegSphere47", eegSphere47),
            snapshotOf("eegNet67", eegNet67),          snapshotOf("eegNet260", eegNet260),
            snapshotOf("megLayout21", megLayout21),    snapshotOf("megLayout32", megLayout32),
            snapshotOf("megTriaxial33", megTriaxial33)};
}

bool taken = false;

// Read while the module loads.
const std::vector<TableSnapshot> seenAtLoad = [] {
    auto tables = readAllTables();
    taken = true;
    return tables;
}();

}  // namespace

const std::vector<TableSnapshot>& tablesSeenAtLoad() {
    return seenAtLoad;
}

bool snapshotTakenAtLoad() {
    return taken;
}

}  // namespace fluxgrid::test
