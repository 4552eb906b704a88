#pragma once

#include <QStringList>

// The player's command line. "--verbose" prints the player's debug lines (every translated key,
// every key press, every player event); without it they stay in their logging categories, where
// QT_LOGGING_RULES (for example "dashcam.media.debug=true") still shows any of them, as Qt lets
// that variable override the rule set here. Warnings always show. "--help" prints the options
// and ends the program, as does an unknown option with a message.
class KvCommandLine {
public:
    // Parses the arguments, program name first (QCoreApplication::arguments()).
    explicit KvCommandLine(const QStringList& arguments);

    bool verbose() const { return _verbose; }
    // Turns the player's debug lines off unless they were asked for.
    void applyLogging() const;

private:
    bool _verbose = false;
};
