// A host without a QApplication: the dialog cannot be shown, and asking for
// it must neither crash nor touch the sensor.
#include <fluxgrid/dialog.h>
#include <support/Harness.h>

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <vector>

namespace {

using fluxgrid::test::MessageBoxRecorder;

std::vector<BYTE> fileOf(CMEGSensorqv& sensor) {
    return fluxgrid::test::storeToBytes([&sensor](CArchive& ar) { sensor.serializeqv(ar); });
}

TEST(NoApplication, NewSensorReturnsZeroUntouched) {
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    CMEGSensorqv sensor;
    const std::vector<BYTE> before = fileOf(sensor);
    MessageBoxRecorder boxes(IDYES);
    EXPECT_EQ(sensor.setupSensorOpm(), 0);
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(sensor.hardwareType, -1);
    EXPECT_EQ(sensor.hardware, nullptr);
    EXPECT_EQ(sensor.sensorType, 0);
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

TEST(NoApplication, SquidSensorIsNotAskedAndKeepsItsRecord) {
    CMEGSensorqv sensor;
    ASSERT_EQ(sensor.initSensorInfo(0, 3, 11, 1, 2.0, 3.0, 4.0, 0.5), 1);
    CMegGrdBscqv* squid = sensor.hardware.get();
    const std::vector<BYTE> before = fileOf(sensor);
    MessageBoxRecorder boxes(IDYES);
    EXPECT_EQ(sensor.setupSensorOpm(), 0);
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(sensor.hardwareType, 0);
    EXPECT_EQ(sensor.hardware.get(), squid);
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

TEST(NoApplication, ApplicationWithoutWidgetsIsNoApplicationForTheDialog) {
    int argc = 1;
    char name[] = "fluxgrid_dialog_noapp_tests";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    CMEGSensorqv sensor;
    sensor.hardwareType = 1;
    const std::vector<BYTE> before = fileOf(sensor);
    MessageBoxRecorder boxes(IDYES);
    EXPECT_EQ(sensor.setupSensorOpm(), 0);
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(sensor.hardware, nullptr);
    EXPECT_EQ(sensor.sensorType, 0);
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

TEST(NoApplication, QtMessageBoxesFallBackToTheReplacedHandler) {
    MessageBoxRecorder boxes(IDYES);
    const AfxMessageBoxHandler replaced = fluxgrid::useQtMessageBoxes();
    const int answer = AfxMessageBox(CString("Proceed?"), MB_YESNO, 17);
    AfxSetMessageBoxHandler(replaced);
    EXPECT_EQ(answer, IDYES);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, "Proceed?");
    EXPECT_EQ(boxes.boxes()[0].type, MB_YESNO);
    EXPECT_EQ(boxes.boxes()[0].helpId, 17u);
}

}  // namespace
