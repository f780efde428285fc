// One main for every test program: an offscreen Qt application, so widget tests render without
// a display and the controller's main thread is this thread.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv) {
    // CTest sets these; defaults let a test program also run by hand from the build folder.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("QVT_TEST_DATA", QVT_DEFAULT_TEST_DATA, 0);
    setenv("QVT_TEST_OUTPUT", QVT_DEFAULT_TEST_OUTPUT, 0);
    setenv("QVT_BUILD_DIR", QVT_DEFAULT_BUILD_DIR, 0);
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
