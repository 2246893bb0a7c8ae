// An outside program built against the installed package with the dialog
// component. Without a QApplication the dialog must refuse quietly.
#include <fluxgrid/dialog.h>

#include <cstdio>

int main() {
    CMEGSensorqv sensor;
    const int result = sensor.setupSensorOpm();
    if (result != 0 || sensor.hardwareType != -1 || sensor.hardware != nullptr) {
        std::printf("setupSensorOpm without an application: %d, hardware type %d\n", result,
                    sensor.hardwareType);
        return 1;
    }
    CDlgMegSnsOpmSetup* dialog = nullptr;
    std::printf("dialog component linked (%p), refusal without an application: ok\n",
                static_cast<void*>(dialog));
    return 0;
}
