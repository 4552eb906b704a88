#include "KvCommandLine.h"

#include "KvLogCategories.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QLoggingCategory>

KvCommandLine::KvCommandLine(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("A player for dash camera recordings."));
    parser.addHelpOption();
    const QCommandLineOption verbose(
        QStringLiteral("verbose"),
        QStringLiteral("Print the player's debug lines (or pick them with QT_LOGGING_RULES)."));
    parser.addOption(verbose);
    parser.process(arguments);
    _verbose = parser.isSet(verbose);
}

void KvCommandLine::applyLogging() const {
    if (!_verbose) {
        QLoggingCategory::setFilterRules(QString::fromLatin1(KvQuietDebugRules));
    }
}
