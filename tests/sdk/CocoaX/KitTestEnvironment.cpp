// One QApplication on the offscreen platform for the whole test process, and the kit's classes
// registered as the program registers them at start.
#include <gtest/gtest.h>

#include <QApplication>

#include "CocoaX_Lib.h"

#include <cstdlib>

namespace {

int sArgc = 1;
char sName[] = "test_CocoaX";
char* sArgv[] = {sName, nullptr};
QApplication* sApp = nullptr;

void DestroyApp() {
  delete sApp;
  sApp = nullptr;
}

class KitTestEnvironment : public testing::Environment {
 public:
  void SetUp() override {
    CocoaX_RegisterClasses();
    if (QCoreApplication::instance()) return;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    sApp = new QApplication(sArgc, sArgv);
    // A death-test child leaves through exit(): the application must go before Qt's statics.
    std::atexit(DestroyApp);
  }
  void TearDown() override { DestroyApp(); }
};

testing::Environment* const sEnvironment = testing::AddGlobalTestEnvironment(new KitTestEnvironment);

}  // namespace
