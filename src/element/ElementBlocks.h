/// \file ElementBlocks.h
/// The blocks that the coil and the vapor cell records share: the four
/// element groups, in three widths, and the pair block, as BscMagSns.h
/// describes them. Internal to the library: no installed header includes it.
#pragma once

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/platform/Archive.h>

#include <array>
#include <cstring>
#include <span>

namespace fluxgrid::element {

using PairTable = double[12][2][3];

/// Columns of the narrow groups; position and orientation may be redirected
/// to scratch arrays by the caller.
inline std::array<double*, 5> narrowColumns(CBscMagSns& e, double* pos, double* ori) {
    return {pos, ori, e.nmlDirXYZW, e.vctXYRD, e.auxRows[0]};
}
inline std::array<double*, 8> middleColumns(CBscMagSns& e) {
    return {e.posP4,      e.oriP4,      e.nmlDirXYZW, e.vctXYRD,
            e.auxRows[0], e.auxRows[1], e.auxRows[2], e.auxRows[3]};
}
inline std::array<double*, 9> wideColumns(CBscMagSns& e) {
    return {e.posP4,      e.oriP4,      e.nmlDirXYZW, e.axisRotate, e.vctXYRD,
            e.auxRows[0], e.auxRows[1], e.auxRows[2], e.auxRows[3]};
}

/// Encodes `value` little-endian at `bytes`.
inline void encodeDouble(BYTE* bytes, double value) {
    value = fluxgrid::detail::toLittleEndian(value);
    std::memcpy(bytes, &value, sizeof value);
}

inline void storeGroups(CArchive& ar, std::span<double* const> columns) {
    if (BYTE* bytes = ar.PutWindow(4 * columns.size() * sizeof(double))) {
        for (int i = 0; i < 4; ++i) {
            for (double* column : columns) {
                encodeDouble(bytes, column[i]);
                bytes += sizeof(double);
            }
        }
        return;
    }
    for (int i = 0; i < 4; ++i) {
        for (double* column : columns) {
            ar << column[i];
        }
    }
}

inline void loadGroups(CArchive& ar, std::span<double* const> columns) {
    using fluxgrid::detail::decodeLittleEndian;
    if (const BYTE* bytes = ar.TakeWindow(4 * columns.size() * sizeof(double))) {
        for (int i = 0; i < 4; ++i) {
            for (double* column : columns) {
                column[i] = decodeLittleEndian<double>(bytes);
                bytes += sizeof(double);
            }
        }
        return;
    }
    for (int i = 0; i < 4; ++i) {
        for (double* column : columns) {
            ar >> column[i];
        }
    }
}

inline void storePairs(CArchive& ar, const PairTable& table) {
    if (BYTE* bytes = ar.PutWindow(12 * 3 * 2 * sizeof(double))) {
        for (int g = 0; g < 12; ++g) {
            for (int j = 0; j < 3; ++j) {
                encodeDouble(bytes, table[g][1][j]);
                encodeDouble(bytes + sizeof(double), table[g][0][j]);
                bytes += 2 * sizeof(double);
            }
        }
        return;
    }
    for (int g = 0; g < 12; ++g) {
        for (int j = 0; j < 3; ++j) {
            ar << table[g][1][j];
            ar << table[g][0][j];
        }
    }
}

inline void loadPairs(CArchive& ar, PairTable& table) {
    using fluxgrid::detail::decodeLittleEndian;
    if (const BYTE* bytes = ar.TakeWindow(12 * 3 * 2 * sizeof(double))) {
        for (int g = 0; g < 12; ++g) {
            for (int j = 0; j < 3; ++j) {
                table[g][1][j] = decodeLittleEndian<double>(bytes);
                table[g][0][j] = decodeLittleEndian<double>(bytes + sizeof(double));
                bytes += 2 * sizeof(double);
            }
        }
        return;
    }
    for (int g = 0; g < 12; ++g) {
        for (int j = 0; j < 3; ++j) {
            ar >> table[g][1][j];
            ar >> table[g][0][j];
        }
    }
}

/// What the coil's and the cell's `reset` share: the four-element arrays
/// and the angles cleared, row 0 of `auxRows` cleared, rows 1 to 3 kept.
void resetGeometry(CBscMagSns& e);

/// Clears the first four pairs of a pair table; pairs 4 to 11 keep their values.
void clearFirstPairs(PairTable& table);

/// Clears `count` doubles from `first` through the C library's memset. The
/// tables of a new element, cleared inline with a size the compiler knows,
/// came out as a string instruction slow to start: with 24 elements in a
/// record, a fifth of a record's load.
void clearDoubles(double* first, std::size_t count);

}  // namespace fluxgrid::element
