#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <unistd.h>

#include "painter/MenuStyle.h"
#include "painter/MessagePipe.h"
#include "painter/Painter.h"
#include "painter/Sandbox.h"
#include "platform/ProgramInfo.h"

namespace {

/// Qt ends the process with SIGABRT when it finds no display, which is no crash of this program. Its
/// warnings, such as one for each picture of an icon that it cannot read, are no use to the user.
void printMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type != QtCriticalMsg && type != QtFatalMsg) return;
    std::fprintf(stderr, "quorvel-painter: %s\n", qPrintable(message));
    if (type == QtFatalMsg) _exit(EXIT_FAILURE);
}

int lingerFrom(const QApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Paints the windows of Quorvel, which starts it when it needs it."));
    parser.addHelpOption();
    const QCommandLineOption linger(QStringLiteral("linger"),
                                    QStringLiteral("Milliseconds to stay when there is nothing to show."),
                                    QStringLiteral("milliseconds"), QStringLiteral("10000"));
    parser.addOption(linger);
    parser.process(application);
    return parser.value(linger).toInt();
}

QString programIdentifier() {
    return QString::fromStdString(quorvel::thisProgram().bundleIdentifier.value_or(""));
}

/// As it is installed in the icon theme, else as it was built in.
QIcon programIcon() {
    QIcon builtIn;
    for (const char* const file : {"32.png", "48.png", "64.png", "128.png"})
        builtIn.addFile(QStringLiteral(":/program-icon/") + QString::fromLatin1(file));
    return QIcon::fromTheme(programIdentifier(), builtIn);
}

}  // namespace

int main(int argc, char** argv) {
    quorvel::painter::enterSandbox(quorvel::painter::isRemoteDisplay(getenv("DISPLAY")));
    qInstallMessageHandler(printMessage);
    // A session that is restored starts the program, and that starts this one.
    qunsetenv("SESSION_MANAGER");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("quorvel"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setDesktopFileName(programIdentifier());
    QApplication::setWindowIcon(programIcon());
    QApplication::setStyle(new quorvel::painter::MenuStyle);

    using namespace quorvel::painter;
    std::optional<MessagePipe> pipe;
    Painter painter(
        std::chrono::milliseconds(lingerFrom(application)), [&](const Event& event) { pipe->send(event); },
        [&] {
            if (!pipe->isWaiting()) QApplication::quit();
        });
    pipe.emplace(
        STDIN_FILENO, [&](const Request& request) { painter.perform(request); },
        [](const std::string& reason) {
            if (!reason.empty()) std::fprintf(stderr, "quorvel-painter: %s\n", reason.c_str());
            QApplication::exit(reason.empty() ? EXIT_SUCCESS : EXIT_FAILURE);
        });
    return QApplication::exec();
}
