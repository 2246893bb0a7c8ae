// The dialog tests run inside a QApplication, as a GUI host would. Listing
// the tests needs none, so that the build can list them without a screen.
#include <QApplication>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    std::unique_ptr<QApplication> application;
    if (!::testing::GTEST_FLAG(list_tests)) {
        application = std::make_unique<QApplication>(argc, argv);
    }
    return RUN_ALL_TESTS();
}
