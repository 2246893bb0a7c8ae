// A host's own static initialisers see every layout table complete: one in
// a second shared object loaded with the test program, one in the test
// program itself.
#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/MegLayouts.h>

#include "probe/TableSnapshot.h"
#include "support/Harness.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

namespace {

using fluxgrid::test::SnapshotRow;
using fluxgrid::test::TableSnapshot;

template <std::size_t N>
void expectSeenComplete(const TableSnapshot& seen, const char* table,
                        const EEG_NAME_POS_TYPE (&rows)[N]) {
    SCOPED_TRACE(table);
    EXPECT_EQ(table, seen.table);
    ASSERT_EQ(N, seen.rows.size());
    for (std::size_t i = 0; i < N; ++i) {
        const SnapshotRow& row = seen.rows[i];
        EXPECT_FALSE(row.name.empty()) << i;
        EXPECT_EQ(rows[i].name.str(), row.name) << i;
        ASSERT_EQ(3u, row.values.size());
        EXPECT_BITS_EQ(rows[i].posX, row.values[0]);
        EXPECT_BITS_EQ(rows[i].posY, row.values[1]);
        EXPECT_BITS_EQ(rows[i].posZ, row.values[2]);
        EXPECT_EQ((std::vector<int>{rows[i].electrodeKind, rows[i].sensorType}), row.codes);
    }
}

template <std::size_t N>
void expectSeenComplete(const TableSnapshot& seen, const char* table,
                        const MEG_OPM_NAME_POS_TYPE (&rows)[N]) {
    SCOPED_TRACE(table);
    EXPECT_EQ(table, seen.table);
    ASSERT_EQ(N, seen.rows.size());
    for (std::size_t i = 0; i < N; ++i) {
        const SnapshotRow& row = seen.rows[i];
        EXPECT_FALSE(row.name.empty()) << i;
        EXPECT_EQ(rows[i].name.str(), row.name) << i;
        ASSERT_EQ(6u, row.values.size());
        EXPECT_BITS_EQ(rows[i].posX, row.values[0]);
        EXPECT_BITS_EQ(rows[i].posY, row.values[1]);
        EXPECT_BITS_EQ(rows[i].posZ, row.values[2]);
        EXPECT_BITS_EQ(rows[i].ornX, row.values[3]);
        EXPECT_BITS_EQ(rows[i].ornY, row.values[4]);
        EXPECT_BITS_EQ(rows[i].ornZ, row.values[5]);
        EXPECT_EQ(std::vector<int>{rows[i].sensorType}, row.codes);
    }
}

void expectAllSeenComplete(const std::vector<TableSnapshot>& seen) {
    ASSERT_EQ(13u, seen.size());
    expectSeenComplete(seen[0], "eegLayout10", eegLayout10);
    expectSeenComplete(seen[1], "eegLayout18", eegLayout18);
    expectSeenComplete(seen[2], "eegLayout21", eegLayout21);
    expectSeenComplete(seen[3], "eegLayout21Row", eegLayout21Row);
    expectSeenComplete(seen[4], "eegSphere25", eegSphere25);
    expectSeenComplete(seen[5], "eegLayout32", eegLayout32);
    expectSeenComplete(seen[6], "eegSphere33", eegSphere33);
    expectSeenComplete(seen[7], "eegSphere47", eegSphere47);
    expectSeenComplete(seen[8], "eegNet67", eegNet67);
    expectSeenComplete(seen[9], "eegNet260", eegNet260);
    expectSeenComplete(seen[10], "megLayout21", megLayout21);
    expectSeenComplete(seen[11], "megLayout32", megLayout32);
    expectSeenComplete(seen[12], "megTriaxial33", megTriaxial33);
}

// The test program's own initialiser, in the manner of a host's.
struct FirstRowsAtStart {
    std::u16string eegName = eegNet260[259].name.str();
    double eegZ = eegNet260[259].posZ;
    std::u16string megName = megTriaxial33[32].name.str();
    double megX = megTriaxial33[32].posX;
};
const FirstRowsAtStart seenByThisProgram;

TEST(TablesAtLoad, ASecondModulesStaticInitialiserSeesEveryTableComplete) {
    ASSERT_TRUE(fluxgrid::test::snapshotTakenAtLoad());
    expectAllSeenComplete(fluxgrid::test::tablesSeenAtLoad());
}

TEST(TablesAtLoad, TheHostProgramsStaticInitialiserSeesTheTablesComplete) {
    EXPECT_EQ(u"Cz", seenByThisProgram.eegName);
    EXPECT_BITS_EQ(8.95379, seenByThisProgram.eegZ);
    EXPECT_EQ(u"Mr2z", seenByThisProgram.megName);
    EXPECT_BITS_EQ(-53.14825, seenByThisProgram.megX);
}

}  // namespace
