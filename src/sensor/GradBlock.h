// The gradiometer block's code that the SQUID and OPM records share, and
// that the sensor file's 2014 body reuses for its gain chain: the defaults,
// the narrow assignment, the block's fields in file order, the record
// frame and the 24 nested element records. The layout is described in
// <fluxgrid/sensor/MegGrdBsc.h>. Internal to the library: no installed
// header includes it.
#pragma once

#include <fluxgrid/frame/FileKinds.h>
#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/sensor/MegGrdBsc.h>

namespace fluxgrid::sensor {

/// Whether a hardware record carries `gradAuxNo`: the SQUID record resets,
/// files and copies it, the OPM record does none of these.
enum class GradAux { carried, absent };

/// The block's defaults: `hardwareNo` 0, `neuromagFactor` 1.0, `gainOffset`
/// 0.0, `scaleConstant` 1e17, the four gains 1.0, `gradOrderNo` 0, both
/// flags false, the auxiliary values, vectors and flags 0, and `gradAuxNo`
/// 0 when carried. `hardwareName` keeps its value.
void resetBlock(CMegGrdBsc& block, GradAux gradAux);

/// Stores the arguments in the fields of the same names and computes
/// `totalGain` = properGain x secondGain x thirdGain, in that order.
/// Touches nothing else. Returns 1.
int initBlockInfo(CMegGrdBsc& block, int hardwareNo, int gradOrderNo, double properGain,
                  double secondGain, double thirdGain, double gainOffset);

/// The narrow assignment of the final hardware records: every field of the
/// block except `hardwareName` and `neuromagFactor`, and `gradAuxNo` only
/// when carried.
void assignBlockKeepingIdentity(CMegGrdBsc& target, const CMegGrdBsc& source, GradAux gradAux);

/// The gain chain and flags, `hardwareNo` through `auxValue2`, in file order.
void storeGainChain(CArchive& ar, const CMegGrdBsc& block, GradAux gradAux);
void loadGainChain(CArchive& ar, CMegGrdBsc& block, GradAux gradAux);

/// The four auxiliary rows: `auxVectorA[i]`, `auxVectorB[i]`, `auxFlags[i]`.
void storeAuxRows(CArchive& ar, const CMegGrdBsc& block);
void loadAuxRows(CArchive& ar, CMegGrdBsc& block);

/// The whole block as a hardware record files it: the chain, then the rows.
void storeBlock(CArchive& ar, const CMegGrdBsc& block, GradAux gradAux);
void loadBlock(CArchive& ar, CMegGrdBsc& block, GradAux gradAux);

/// The frame of both hardware records (`kind` is `FileKind::squid` or
/// `FileKind::opm`), which accept and write the one version of their entry
/// in the kind table and share the words of a wrong version: stores the
/// magic and version, or loads and checks them. False, after the message
/// box, for a wrong magic or version.
bool serializeRecordFrame(CArchive& ar, FileKind kind);

/// The 24 nested element records of a hardware record, in either direction:
/// for each index 0 to 7, the dewar, head and work element in turn, each
/// through its own file entry with its own magic and version. The entries'
/// results are not looked at: a record that its own layer refuses stops
/// nothing, and reading goes on at the stream's position.
template <class Element>
void serializeElementRecords(CArchive& ar, Element (&dewar)[8], Element (&head)[8],
                             Element (&work)[8]) {
    for (int i = 0; i < 8; ++i) {
        dewar[i].serializeqv(ar);
        head[i].serializeqv(ar);
        work[i].serializeqv(ar);
    }
}

}  // namespace fluxgrid::sensor
