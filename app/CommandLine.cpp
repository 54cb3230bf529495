#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cmath>

namespace velmora::command_line {

namespace {

using Parsed = tl::expected<Command, QString>;

tl::unexpected<QString> wrong(const QString& what)
{
    return tl::unexpected<QString>(what);
}

const QCommandLineOption helpOption{{QStringLiteral("h"), QStringLiteral("help")}, QString{}};

// Parses what follows the command's name. None when help is asked for.
tl::expected<bool, QString> parseOptions(QCommandLineParser& parser, const QStringList& arguments)
{
    parser.addOption(helpOption);
    if (!parser.parse(arguments))
        return tl::unexpected<QString>(parser.errorText());
    return !parser.isSet(helpOption);
}

Parsed parseWindows(const QStringList& arguments)
{
    const QCommandLineOption json{QStringLiteral("json")};
    QCommandLineParser parser;
    parser.addOption(json);
    const auto goOn = parseOptions(parser, arguments);
    if (!goOn)
        return wrong(goOn.error());
    if (!*goOn)
        return Print{helpText()};
    if (!parser.positionalArguments().isEmpty())
        return wrong(QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().constFirst()));
    return Windows{.json = parser.isSet(json)};
}

std::optional<std::chrono::nanoseconds> parseSeconds(const QString& text)
{
    // Longer than any recording, and far from what nanoseconds in 64 bits can hold.
    constexpr double longest = 366.0 * 24 * 3600;
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(seconds) || seconds <= 0 || seconds > longest)
        return std::nullopt;
    return std::chrono::nanoseconds{std::llround(seconds * 1e9)};
}

std::filesystem::path absolutePath(const QString& text)
{
    return std::filesystem::absolute(text.toStdString()).lexically_normal();
}

Parsed parseRecord(const QStringList& arguments)
{
    const QCommandLineOption window{QStringLiteral("window"), QString{}, QStringLiteral("ID")};
    const QCommandLineOption duration{QStringLiteral("duration"), QString{}, QStringLiteral("SECONDS")};
    const QCommandLineOption output{QStringLiteral("output"), QString{}, QStringLiteral("FILE")};
    QCommandLineParser parser;
    parser.addOptions({window, duration, output});
    const auto goOn = parseOptions(parser, arguments);
    if (!goOn)
        return wrong(goOn.error());
    if (!*goOn)
        return Print{helpText()};
    if (!parser.positionalArguments().isEmpty())
        return wrong(QStringLiteral("Unexpected argument '%1'.").arg(parser.positionalArguments().constFirst()));
    if (!parser.isSet(window))
        return wrong(QStringLiteral("Which window? 'velmora windows' lists them; give one with --window ID."));

    Record record;
    bool isNumber = false;
    record.windowID = parser.value(window).toUInt(&isNumber, 0);
    if (!isNumber)
        return wrong(QStringLiteral("'%1' is not a window's number.").arg(parser.value(window)));
    if (parser.isSet(duration)) {
        record.duration = parseSeconds(parser.value(duration));
        if (!record.duration)
            return wrong(QStringLiteral("'%1' is not a number of seconds above zero.").arg(parser.value(duration)));
    }
    if (parser.isSet(output)) {
        if (parser.value(output).isEmpty())
            return wrong(QStringLiteral("--output needs a file's name."));
        record.output = absolutePath(parser.value(output));
    }
    return record;
}

Parsed parseRepair(const QStringList& arguments)
{
    QCommandLineParser parser;
    const auto goOn = parseOptions(parser, arguments);
    if (!goOn)
        return wrong(goOn.error());
    if (!*goOn)
        return Print{helpText()};
    if (parser.positionalArguments().size() != 1)
        return wrong(QStringLiteral("'velmora repair' takes one file."));
    return Repair{.file = absolutePath(parser.positionalArguments().constFirst())};
}

}  // namespace

tl::expected<Command, QString> parse(const QStringList& arguments)
{
    if (arguments.size() < 2)
        return wrong(QStringLiteral("What is to be done? See 'velmora --help'."));
    const QString command = arguments.at(1);
    const QStringList rest = arguments.mid(1);  // the command stands for the program's name
    if (command == QLatin1String("windows"))
        return parseWindows(rest);
    if (command == QLatin1String("record"))
        return parseRecord(rest);
    if (command == QLatin1String("repair"))
        return parseRepair(rest);
    if (command == QLatin1String("--help") || command == QLatin1String("-h"))
        return Print{helpText()};
    if (command == QLatin1String("--version"))
        return Print{QStringLiteral("velmora %1\n").arg(QCoreApplication::applicationVersion())};
    return wrong(QStringLiteral("'%1' is not a command. See 'velmora --help'.").arg(command));
}

QString helpText()
{
    return QStringLiteral("Velmora records one window, with its application's sound, as an MP4 clip.\n"
                          "\n"
                          "  velmora windows [--json]\n"
                          "      Lists the windows that can be recorded.\n"
                          "\n"
                          "  velmora record --window ID [--duration SECONDS] [--output FILE]\n"
                          "      Records the window until the duration is over, or until Ctrl+C or SIGTERM,\n"
                          "      and prints the clip's path. Without --output the clip goes to the Velmora\n"
                          "      folder in your videos folder, under a name with the time of day.\n"
                          "      A file that is there already is never overwritten.\n"
                          "\n"
                          "  velmora repair FILE\n"
                          "      Makes an ordinary MP4 of a recording that was cut off.\n"
                          "\n"
                          "  velmora --help | --version\n"
                          "\n"
                          "Exit status: 0 done, 1 failed, 2 wrong use.\n");
}

}  // namespace velmora::command_line
