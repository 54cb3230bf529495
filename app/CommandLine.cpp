#include "app/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QHash>

#include <cmath>
#include <initializer_list>
#include <utility>

namespace velmora::command_line {

namespace {

using Parsed = tl::expected<Command, QString>;

tl::unexpected<QString> wrong(const QString& what)
{
    return tl::unexpected<QString>(what);
}

const QCommandLineOption helpOption{{QStringLiteral("h"), QStringLiteral("help")}, QString{}};

// What stands after a command's name: its options are understood, and it has as many other arguments as it takes.
class Arguments {
public:
    explicit Arguments(std::initializer_list<QCommandLineOption> options)
    {
        parser_.addOption(helpOption);
        parser_.addOptions(options);
    }

    /// What the user gets instead of the command: help, or what is wrong. None when the command can be carried out.
    std::optional<Parsed> parse(const QStringList& arguments, qsizetype positionalCount, const QString& usage = {})
    {
        if (!parser_.parse(arguments))
            return wrong(parser_.errorText());
        if (parser_.isSet(helpOption))
            return Print{helpText()};
        const auto& positional = parser_.positionalArguments();
        if (positional.size() == positionalCount)
            return std::nullopt;
        return wrong(positionalCount == 0 ? QStringLiteral("Unexpected argument '%1'.").arg(positional.constFirst()) : usage);
    }

    [[nodiscard]] bool isSet(const QCommandLineOption& option) const { return parser_.isSet(option); }
    [[nodiscard]] QString value(const QCommandLineOption& option) const { return parser_.value(option); }
    [[nodiscard]] QString positional() const { return parser_.positionalArguments().constFirst(); }

private:
    QCommandLineParser parser_;
};

Parsed parseWindows(const QStringList& arguments)
{
    const QCommandLineOption json{QStringLiteral("json")};
    Arguments given{json};
    if (auto instead = given.parse(arguments, 0))
        return std::move(*instead);
    return Windows{.json = given.isSet(json)};
}

std::optional<std::uint32_t> parseWindowID(const QString& text)
{
    bool isNumber = false;
    const auto number = text.toUInt(&isNumber, 0);
    return isNumber ? std::optional{number} : std::nullopt;
}

tl::unexpected<QString> notAWindow(const QString& text)
{
    return wrong(QStringLiteral("'%1' is not a window's number.").arg(text));
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
    Arguments given{window, duration, output};
    if (auto instead = given.parse(arguments, 0))
        return std::move(*instead);
    if (!given.isSet(window))
        return wrong(QStringLiteral("Which window? 'velmora windows' lists them; give one with --window ID."));

    Record record;
    const auto windowID = parseWindowID(given.value(window));
    if (!windowID)
        return notAWindow(given.value(window));
    record.windowID = *windowID;
    if (given.isSet(duration)) {
        record.duration = parseSeconds(given.value(duration));
        if (!record.duration)
            return wrong(QStringLiteral("'%1' is not a number of seconds above zero.").arg(given.value(duration)));
    }
    if (given.isSet(output)) {
        if (given.value(output).isEmpty())
            return wrong(QStringLiteral("--output needs a file's name."));
        record.output = absolutePath(given.value(output));
    }
    return record;
}

Parsed parseRepair(const QStringList& arguments)
{
    Arguments given{};
    if (auto instead = given.parse(arguments, 1, QStringLiteral("'velmora repair' takes one file.")))
        return std::move(*instead);
    return Repair{.file = absolutePath(given.positional())};
}

Parsed parseSelect(const QStringList& arguments)
{
    Arguments given{};
    if (auto instead =
            given.parse(arguments, 1, QStringLiteral("'velmora select' takes one window's number; 'velmora windows' lists them.")))
        return std::move(*instead);
    const auto windowID = parseWindowID(given.positional());
    if (!windowID)
        return notAWindow(given.positional());
    return Control{.action = Control::Action::select, .windowID = *windowID, .json = false, .file = {}};
}

Parsed parsePreview(const QStringList& arguments)
{
    Arguments given{};
    if (auto instead = given.parse(arguments, 1, QStringLiteral("'velmora preview' takes one file.")))
        return std::move(*instead);
    return Control{.action = Control::Action::preview, .windowID = 0, .json = false, .file = absolutePath(given.positional())};
}

Parsed parseStatus(const QStringList& arguments)
{
    const QCommandLineOption json{QStringLiteral("json")};
    Arguments given{json};
    if (auto instead = given.parse(arguments, 0))
        return std::move(*instead);
    return Control{.action = Control::Action::status, .windowID = 0, .json = given.isSet(json), .file = {}};
}

template <Control::Action action>
Parsed parsePlainControl(const QStringList& arguments)
{
    Arguments given{};
    if (auto instead = given.parse(arguments, 0))
        return std::move(*instead);
    return Control{.action = action, .windowID = 0, .json = false, .file = {}};
}

using Parser = Parsed (*)(const QStringList&);

Parser parserOf(const QString& command)
{
    static const QHash<QString, Parser> parsers{
        {QStringLiteral("windows"), parseWindows},
        {QStringLiteral("record"), parseRecord},
        {QStringLiteral("repair"), parseRepair},
        {QStringLiteral("toggle"), parsePlainControl<Control::Action::toggle>},
        {QStringLiteral("select"), parseSelect},
        {QStringLiteral("stop"), parsePlainControl<Control::Action::stop>},
        {QStringLiteral("status"), parseStatus},
        {QStringLiteral("preview"), parsePreview},
        {QStringLiteral("quit"), parsePlainControl<Control::Action::quit>},
    };
    return parsers.value(command, nullptr);
}

}  // namespace

tl::expected<Command, QString> parse(const QStringList& arguments)
{
    if (arguments.size() < 2)
        return Run{};
    const QString& command = arguments.at(1);
    if (const auto parser = parserOf(command))
        return parser(arguments.mid(1));  // the command stands for the program's name
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
                          "  velmora\n"
                          "      Starts the program in the tray; when it runs already, brings it up.\n"
                          "\n"
                          "  velmora toggle\n"
                          "      Starts a recording; ends the one that runs and prints the clip's path when it is safe.\n"
                          "  velmora select ID\n"
                          "      Chooses the window to record.\n"
                          "  velmora stop\n"
                          "      Saves a recording that runs, then stops capturing the window.\n"
                          "  velmora status [--json]\n"
                          "      Says what the program is doing.\n"
                          "  velmora preview FILE\n"
                          "      Opens a clip.\n"
                          "  velmora quit\n"
                          "      Ends the program, and with it a recording that runs.\n"
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
