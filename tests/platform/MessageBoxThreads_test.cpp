// Four threads load good and bad files of the sample set at the same time,
// each under its own scoped message box handler: every box of a load must
// reach the handler of the thread that loaded, and no other.
#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/MessageBox.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <latch>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using fluxgrid::ScopedMessageBoxHandler;

// The tests run in tests/platform of the source tree.
const std::string kSampleData = "../../examples/data/";

std::vector<BYTE> readSample(const std::string& name) {
    std::ifstream in(kSampleData + name, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read the sample " + name);
    }
    return std::vector<BYTE>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

enum class Entry { coil, vapor, sensor, headloc };

// Loads `bytes` through one entry into a fresh object; the entry's result.
int loadThrough(Entry entry, const std::vector<BYTE>& bytes) {
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    CArchive ar(&file, CArchive::load);
    switch (entry) {
        case Entry::coil: {
            CMagCoilqv coil;
            return coil.serializeqv(ar);
        }
        case Entry::vapor: {
            CMagVaporqv vapor;
            return vapor.serializeqv(ar);
        }
        case Entry::sensor: {
            CMEGSensorqv sensor;
            return sensor.serializeqv(ar);
        }
        case Entry::headloc: {
            CHeadLocalizationqv headloc;
            return headloc.serializeqv(ar);
        }
    }
    throw std::logic_error("no such entry");
}

// One thread's work: a good file of its kind, the same with a version no
// entry accepts, and a good file of another kind, which its entry refuses.
struct Work {
    Entry entry;
    std::vector<BYTE> good;
    std::vector<BYTE> badVersion;
    std::vector<BYTE> otherKind;
    std::string badVersionText;
    std::string badMagicText;
};

// The sample with its version, just behind the magic, set to 0.
std::vector<BYTE> withVersionZero(std::vector<BYTE> bytes, std::size_t magicLength) {
    const std::size_t version = 3 + 1 + 2 * magicLength;
    for (std::size_t i = 0; i < 4; ++i) {
        bytes.at(version + i) = 0;
    }
    return bytes;
}

struct Tally {
    int goodLoads = 0;
    int refusedLoads = 0;
    int boxes = 0;
    int boxesOnAnotherThread = 0;
    std::map<std::string, int> texts;
};

TEST(MessageBoxThreads, EveryBoxOfConcurrentLoadsReachesItsOwnThreadsHandler) {
    constexpr const char* kNotMegFile = "The opened file is not MEG file or corrupted!";
    const std::vector<BYTE> coil = readSample("coil-20211230.coil");
    const std::vector<BYTE> vapor = readSample("vapor-20211230.vapor");
    const std::vector<BYTE> sensor = readSample("sensor-squid-20200210.sensor");
    const std::vector<BYTE> headloc = readSample("headloc-20160320.headloc");
    const std::vector<Work> work = {
        {Entry::coil, coil, withVersionZero(coil, 9), vapor, "Wrong file format!!?", kNotMegFile},
        {Entry::vapor, vapor, withVersionZero(vapor, 7), coil, "Wrong AMOPM file format!!?",
         kNotMegFile},
        {Entry::sensor, sensor, withVersionZero(sensor, 11), headloc, "Wrong file format!!?",
         "The opened file is not MEG sensor file or corrupted!"},
        {Entry::headloc, headloc, withVersionZero(headloc, 17), sensor,
         "Wrong file format int CHeadLocalization09File!!?",
         "The opened file is not trial head localization!"},
    };
    // Rounds of three loads each, two of them with a box: 4 x 3 x 1000 loads.
    constexpr int kRounds = 1000;

    // Boxes that reach the process-wide handler went astray.
    std::atomic<int> astray{0};
    const AfxMessageBoxHandler previous =
        AfxSetMessageBoxHandler([&astray](const CString&, UINT, UINT) {
            ++astray;
            return IDOK;
        });

    std::vector<Tally> tallies(work.size());
    std::latch start(static_cast<std::ptrdiff_t>(work.size()));
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < work.size(); ++t) {
        threads.emplace_back([&, t] {
            const Work& mine = work[t];
            Tally& tally = tallies[t];
            const std::thread::id self = std::this_thread::get_id();
            ScopedMessageBoxHandler scope([&](const CString& text, UINT, UINT) {
                ++tally.boxes;
                if (std::this_thread::get_id() != self) {
                    ++tally.boxesOnAnotherThread;
                }
                ++tally.texts[text.ToUtf8()];
                return IDOK;
            });
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                for (const std::vector<BYTE>* bytes :
                     {&mine.good, &mine.badVersion, &mine.otherKind}) {
                    const int boxesBefore = tally.boxes;
                    const int result = loadThrough(mine.entry, *bytes);
                    if (bytes == &mine.good && result == 1 && tally.boxes == boxesBefore) {
                        ++tally.goodLoads;
                    }
                    if (bytes != &mine.good && tally.boxes == boxesBefore + 1) {
                        ++tally.refusedLoads;
                    }
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    AfxSetMessageBoxHandler(previous);

    EXPECT_EQ(astray, 0);
    for (std::size_t t = 0; t < work.size(); ++t) {
        SCOPED_TRACE("thread " + std::to_string(t));
        const Tally& tally = tallies[t];
        EXPECT_EQ(tally.goodLoads, kRounds);
        EXPECT_EQ(tally.refusedLoads, 2 * kRounds);
        EXPECT_EQ(tally.boxes, 2 * kRounds);
        EXPECT_EQ(tally.boxesOnAnotherThread, 0);
        const std::map<std::string, int> expected = {{work[t].badVersionText, kRounds},
                                                     {work[t].badMagicText, kRounds}};
        EXPECT_EQ(tally.texts, expected);
    }
}

}  // namespace
