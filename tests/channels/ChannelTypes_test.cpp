// The meaning of a channel type code: its name as the sensor gives it and
// its kind, with the OPM setup dialog's codes.
#include <fluxgrid/channels/ChannelTypes.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using fluxgrid::ChannelKind;
using fluxgrid::channelType;
using fluxgrid::channelTypeOf;

TEST(ChannelTypes, NameIsWhatTheSensorAnswersForEveryCodeOfTheTableAndAroundIt) {
    CMEGSensorqv sensor;
    for (int code = -5; code <= 5005; ++code) {
        sensor.sensorType = code;
        EXPECT_EQ(std::string(channelType(code).name), sensor.getSensorTypeName().ToUtf8()) << code;
    }
}

TEST(ChannelTypes, NamedCodesAreTheThirtyOneOfTheTableAndEachIsKnown) {
    const auto codes = fluxgrid::namedChannelTypeCodes();
    ASSERT_EQ(codes.size(), 31u);
    EXPECT_EQ(codes.front(), -1);
    EXPECT_EQ(codes.back(), 5001);
    for (int code : codes) {
        EXPECT_TRUE(channelType(code).known) << code;
        EXPECT_NE(channelType(code).name, "Unknown") << code;
    }
}

TEST(ChannelTypes, GapsAndZeroAreUnknownAndMisc) {
    for (int code : {0, 301, 902, 5000}) {
        EXPECT_FALSE(channelType(code).known) << code;
        EXPECT_EQ(channelType(code).name, "Unknown") << code;
        EXPECT_EQ(channelType(code).kind, ChannelKind::misc) << code;
    }
    EXPECT_TRUE(channelType(-1).known);
    EXPECT_EQ(channelType(-1).name, "INVALID");
}

TEST(ChannelTypes, KindsFollowTheRangesOfTheTable) {
    for (int code : {100, 101, 102, 103}) {
        EXPECT_EQ(channelType(code).kind, ChannelKind::meg) << code;
    }
    for (int code : {10, 11, 12, 13}) {
        EXPECT_EQ(channelType(code).kind, ChannelKind::reference) << code;
    }
    for (int code : {300, 302, 303}) {
        EXPECT_EQ(channelType(code).kind, ChannelKind::eeg) << code;
    }
    for (int code : {600, 601, 602}) {
        EXPECT_EQ(channelType(code).kind, ChannelKind::stimulus) << code;
    }
    for (int code : {-1, 9, 14, 99, 104, 200, 354, 400, 603, 700, 800, 4000}) {
        EXPECT_EQ(channelType(code).kind, ChannelKind::misc) << code;
    }
}

TEST(ChannelTypes, OpmDialogCodesAreMegAndReferenceOnlyWithAnOpmRecord) {
    EXPECT_EQ(channelType(700, true).kind, ChannelKind::meg);
    EXPECT_EQ(channelType(800, true).kind, ChannelKind::reference);
    EXPECT_EQ(channelType(700, true).name, "TIME");
    EXPECT_EQ(channelType(800, true).name, "POSITION");
    EXPECT_EQ(channelType(701, true).kind, ChannelKind::misc);
    EXPECT_EQ(channelType(100, true).kind, ChannelKind::meg);
}

TEST(ChannelTypes, SensorIsJudgedByTheRecordItHolds) {
    CMEGSensorqv opm;
    opm.sensorType = 700;
    EXPECT_EQ(channelTypeOf(opm).kind, ChannelKind::misc);  // no record yet
    opm.initSensorInfo(1, 700, 0, 0, 1.0, 1.0, 1.0, 0.0);
    EXPECT_EQ(channelTypeOf(opm).kind, ChannelKind::meg);

    CMEGSensorqv squid;
    squid.initSensorInfo(0, 800, 0, 0, 1.0, 1.0, 1.0, 0.0);
    EXPECT_EQ(channelTypeOf(squid).kind, ChannelKind::misc);
}

TEST(ChannelTypes, KindWordsAreThoseOfTheAnalysisPackages) {
    EXPECT_EQ(fluxgrid::channelKindWord(ChannelKind::meg), "meg");
    EXPECT_EQ(fluxgrid::channelKindWord(ChannelKind::reference), "ref");
    EXPECT_EQ(fluxgrid::channelKindWord(ChannelKind::eeg), "eeg");
    EXPECT_EQ(fluxgrid::channelKindWord(ChannelKind::stimulus), "stim");
    EXPECT_EQ(fluxgrid::channelKindWord(ChannelKind::misc), "misc");
}

}  // namespace
