#include "KvCNumericLocale.h"
#include "KvCommandLine.h"
#include "KvConfigure.h"
#include "MainWindow.h"

#include <QApplication>
#include <QFont>

namespace {
const char* const ApplicationFontFamily = "Calibri light";
constexpr int ApplicationFontPixelSize = 14;
} // namespace

int main(int argc, char* argv[]) {
    // The map page's web view shares OpenGL contexts with the video views; Qt needs to know
    // before the application object exists.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    KvCommandLine(QApplication::arguments()).applyLogging();
    // The constructor installed the user's locale in the C library; numbers in GPS text, script
    // calls and log lines keep their decimal point, while texts keep the user's language.
    kvUseCNumericLocale();
    // Gives the settings, playlist and cache folders the player's own names.
    QCoreApplication::setOrganizationName(QStringLiteral("dashcam-player"));
    QCoreApplication::setApplicationName(QStringLiteral("dashcam-player"));

    initConfigures();

    QFont font(QString::fromLatin1(ApplicationFontFamily));
    font.setPixelSize(ApplicationFontPixelSize);
    QApplication::setFont(font);

    MainWindow window;
    window.show();
    return app.exec();
}
