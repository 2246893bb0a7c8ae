// The sample files of every kind and version, and small helpers for the
// tests of the loading facade.
#pragma once

#include <fluxgrid/io/Files.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace fluxgrid::test {

/// The committed sample files; the tests run in tests/io of the source
/// tree.
inline const std::filesystem::path kSampleData = "../../examples/data";

inline std::string samplePath(const std::string& name) {
    return (kSampleData / name).string();
}

inline std::vector<BYTE> readSample(const std::string& name) {
    std::ifstream in(samplePath(name), std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read the sample " + name);
    }
    return std::vector<BYTE>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// A sample that loads, with the kind and version its name gives.
struct GoodSample {
    std::string name;
    FileKind kind;
    int version;
};

inline std::vector<GoodSample> goodSamples() {
    return {
        {"coil-20080102.coil", FileKind::coil, 20080102},
        {"coil-20091117.coil", FileKind::coil, 20091117},
        {"coil-20140513.coil", FileKind::coil, 20140513},
        {"coil-20211230.coil", FileKind::coil, 20211230},
        {"vapor-20190121.vapor", FileKind::vapor, 20190121},
        {"vapor-20211230.vapor", FileKind::vapor, 20211230},
        {"squid-20190201.squid", FileKind::squid, 20190201},
        {"opm-20190201.opm", FileKind::opm, 20190201},
        {"sensor-squid-20080101.sensor", FileKind::sensor, 20080101},
        {"sensor-squid-20091117.sensor", FileKind::sensor, 20091117},
        {"sensor-squid-20140513.sensor", FileKind::sensor, 20140513},
        {"sensor-squid-20200210.sensor", FileKind::sensor, 20200210},
        {"sensor-opm-20200210.sensor", FileKind::sensor, 20200210},
        {"headloc-20090606.headloc", FileKind::headloc, 20090606},
        {"headloc-20110217.headloc", FileKind::headloc, 20110217},
        {"headloc-20160320.headloc", FileKind::headloc, 20160320},
    };
}

/// The failure of a result that must have failed; an empty error (which
/// fails every check on it) for a result that did not.
template <class T>
FileError failureOf(const FileResult<T>& result) {
    EXPECT_FALSE(result.ok());
    if (result.ok()) {
        return FileError{FileFailure::corrupt, {}, {}, {}, "(the call succeeded)", {}};
    }
    return result.error();
}

}  // namespace fluxgrid::test
