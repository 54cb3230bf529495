#include "app/CommandLine.h"

#include "app/CommandDescription.h"
#include "library/SmallFileName.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QHash>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <system_error>
#include <utility>

namespace velmora::command_line {

namespace {

using Parsed = tl::expected<Command, QString>;

tl::unexpected<QString> wrong(const QString& what)
{
    return tl::unexpected<QString>(what);
}

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

// What comes after a command's name: the options of its description are understood, and it has as many other arguments as it takes.
class Arguments {
public:
    /// `arguments` begins with the command's name.
    explicit Arguments(const QStringList& arguments)
        : arguments_(arguments)
        , description_(findCommand(arguments.constFirst().toStdString()))
    {
        assert(description_ && "every command is described");
        parser_.addOption({{QStringLiteral("h"), QString{helpOption}}, QString{}});
        for (const auto& option : description_->options)
            parser_.addOption({text(option.name), QString{}, option.argument ? text(option.argument->name) : QString{}});
    }

    /// What the user gets instead of the command: help, or what is wrong. None when the command can be carried out. `usage` is for
    /// somebody who gives too few or too many arguments to a command that takes one.
    std::optional<Parsed> parse(const QString& usage = {})
    {
        if (!parser_.parse(arguments_))
            return wrong(parser_.unknownOptionNames().isEmpty() ? parser_.errorText() : unknownOption());
        if (parser_.isSet(helpOption))
            return Print{helpText()};
        const auto& positional = parser_.positionalArguments();
        const qsizetype least = description_->argument ? 1 : 0;
        const qsizetype most = least + (description_->optionalArgument ? 1 : 0);
        if (positional.size() >= least && positional.size() <= most)
            return std::nullopt;
        if (description_->argumentRepeats && positional.size() > least)
            return std::nullopt;
        return wrong(most > 0 ? usage : QStringLiteral("Unexpected argument '%1'.").arg(positional.constFirst()));
    }

    [[nodiscard]] bool isSet(const char* option) const { return parser_.isSet(QLatin1String{option}); }
    [[nodiscard]] QString value(const char* option) const { return parser_.value(QLatin1String{option}); }
    [[nodiscard]] QStringList values(const char* option) const { return parser_.values(QLatin1String{option}); }
    [[nodiscard]] QStringList positionals() const { return parser_.positionalArguments(); }
    [[nodiscard]] QString positional() const { return parser_.positionalArguments().constFirst(); }

    /// Null where it was left out.
    [[nodiscard]] QString optionalPositional() const { return parser_.positionalArguments().value(description_->argument ? 1 : 0); }

private:
    /// The parser takes "-name" for options of one letter each, and would list them.
    [[nodiscard]] QString unknownOption() const
    {
        const auto whole = std::find_if(arguments_.begin() + 1, arguments_.end(), [](const QString& argument) {
            return argument.size() > 2 && argument.startsWith(QLatin1Char('-')) && argument[1] != QLatin1Char('-');
        });
        const auto names = parser_.unknownOptionNames();
        const bool areLetters = std::all_of(names.begin(), names.end(), [](const QString& name) { return name.size() == 1; });
        if (!areLetters || whole == arguments_.end())
            return parser_.errorText();
        return QStringLiteral("Unknown option '%1'. A file of that name is written './%1'.").arg(*whole);
    }

    static constexpr QLatin1String helpOption{"help"};

    const QStringList arguments_;
    const CommandDescription* description_;
    QCommandLineParser parser_;
};

Parsed parseWindows(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse())
        return std::move(*instead);
    return Windows{.json = given.isSet("json")};
}

Parsed parseDoctor(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse())
        return std::move(*instead);
    return Doctor{.json = given.isSet("json")};
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

constexpr ushort firstByteOfNoText = 0xDC00;

bool isByteOfNoText(QChar character)
{
    return character.unicode() >= firstByteOfNoText + 0x80 && character.unicode() <= firstByteOfNoText + 0xFF;
}

/// What argumentText() was made of.
std::string bytesOf(const QString& text)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < text.size();) {
        if (isByteOfNoText(text[i])) {
            bytes.append(static_cast<char>(text[i++].unicode() - firstByteOfNoText));
            continue;
        }
        auto end = i;
        // The second half of a pair is not a byte.
        while (end < text.size() && !isByteOfNoText(text[end]))
            end += text[end].isHighSurrogate() && end + 1 < text.size() ? 2 : 1;
        bytes.append(text.mid(i, end - i).toUtf8());
        i = end;
    }
    return bytes.toStdString();
}

using ParsedPath = tl::expected<std::filesystem::path, QString>;

ParsedPath absolutePath(const QString& text)
{
    if (text.isEmpty())
        return wrong(QStringLiteral("A file's name cannot be empty."));
    std::error_code error;
    auto path = std::filesystem::absolute(bytesOf(text), error);
    if (error)
        return wrong(QStringLiteral("The working folder cannot be found: %1.").arg(QString::fromStdString(error.message())));
    return path.lexically_normal();
}

/// None: the user leaves the name to us.
tl::expected<std::optional<std::filesystem::path>, QString> parseOutput(const Arguments& given)
{
    if (!given.isSet("output"))
        return std::nullopt;
    if (given.value("output").isEmpty())
        return wrong(QStringLiteral("--output needs a file's name."));
    return absolutePath(given.value("output")).map([](auto path) { return std::optional{std::move(path)}; });
}

/// None: nothing is wanted.
tl::expected<std::optional<std::string>, QString> parseSound(const Arguments& given)
{
    if (!given.isSet("sound"))
        return std::nullopt;
    if (given.value("sound").isEmpty())
        return wrong(QStringLiteral("--sound needs the name of an application, or 'none'."));
    return given.value("sound").toStdString();
}

Parsed parseRecord(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse())
        return std::move(*instead);
    if (!given.isSet("window"))
        return wrong(QStringLiteral("Which window? 'velmora windows' lists them; give one with --window ID."));

    Record record;
    const auto windowID = parseWindowID(given.value("window"));
    if (!windowID)
        return notAWindow(given.value("window"));
    record.windowID = *windowID;
    if (given.isSet("duration")) {
        record.duration = parseSeconds(given.value("duration"));
        if (!record.duration)
            return wrong(QStringLiteral("'%1' is not a number of seconds above zero.").arg(given.value("duration")));
    }
    const auto chosen = parseOutput(given);
    if (!chosen)
        return wrong(chosen.error());
    record.output = *chosen;
    const auto sound = parseSound(given);
    if (!sound)
        return wrong(sound.error());
    record.sound = *sound;
    return record;
}

Parsed parseRepair(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse(QStringLiteral("'velmora repair' takes one file.")))
        return std::move(*instead);
    auto file = absolutePath(given.positional());
    if (!file)
        return wrong(file.error());
    return Repair{.file = std::move(*file)};
}

/// Digits, and decimals where they are allowed; nothing that only a programmer takes for a number.
std::optional<double> parsePlainNumber(const QString& text, bool withDecimals)
{
    const auto parts = text.split(QLatin1Char('.'));
    const auto isPlain = [](const QString& part) {
        return !part.isEmpty() && part.size() <= 9
            && std::all_of(part.begin(), part.end(), [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); });
    };
    if (parts.size() > (withDecimals ? 2 : 1) || !std::all_of(parts.begin(), parts.end(), isPlain))
        return std::nullopt;
    return text.toDouble();
}

/// Seconds, "M:SS" or "H:MM:SS", with decimals.
std::optional<MediaTime> parseTime(const QString& text)
{
    // Whole ticks for milliseconds and for 24, 25, 30, 50 and 60 pictures a second.
    constexpr std::int32_t timescale = 90000;
    const auto parts = text.split(QLatin1Char(':'));
    if (parts.size() > 3)
        return std::nullopt;
    double sum = 0;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const auto value = parsePlainNumber(parts[i], i + 1 == parts.size());
        // After a colon come two digits, below 60.
        if (!value || (i > 0 && (*value >= 60 || parts[i].split(QLatin1Char('.')).constFirst().size() != 2)))
            return std::nullopt;
        sum = sum * 60 + *value;
    }
    return MediaTime::fromSeconds(sum, timescale);
}

tl::unexpected<QString> notATime(const QString& text)
{
    return wrong(QStringLiteral("'%1' is not a time in seconds, such as 83.5 or 1:23.5.").arg(text));
}

Parsed parseTrim(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse(QStringLiteral("'velmora trim' takes one file.")))
        return std::move(*instead);
    const bool hasCuts = given.isSet("cut");
    if (!hasCuts && (!given.isSet("start") || !given.isSet("end")))
        return wrong(QStringLiteral("Which part? Give it with --start TIME and --end TIME, or what to leave out with --cut A-B."));

    auto file = absolutePath(given.positional());
    if (!file)
        return wrong(file.error());
    Trim trim;
    trim.file = std::move(*file);
    for (const auto& [option, time] : {std::pair{"start", &trim.range.start}, {"end", &trim.range.end}}) {
        if (!given.isSet(option))
            continue;
        const auto parsed = parseTime(given.value(option));
        if (!parsed)
            return notATime(given.value(option));
        *time = *parsed;
    }
    if (trim.range.end <= trim.range.start)
        return wrong(QStringLiteral("The end has to be after the start."));
    for (const auto& text : given.values("cut")) {
        const auto ends = text.split(QLatin1Char('-'));
        if (ends.size() != 2)
            return wrong(QStringLiteral("'%1' is not a stretch of time, such as 12.5-1:03.").arg(text));
        const auto from = parseTime(ends[0]);
        const auto to = parseTime(ends[1]);
        if (!from || !to)
            return notATime(ends[from ? 1 : 0]);
        if (*to <= *from)
            return wrong(QStringLiteral("The end of the cut '%1' has to be after its beginning.").arg(text));
        trim.cuts.push_back({*from, *to});
    }
    const auto chosen = parseOutput(given);
    if (!chosen)
        return wrong(chosen.error());
    trim.output = *chosen;
    return trim;
}

Parsed parseJoin(const QStringList& arguments)
{
    Arguments given{arguments};
    const auto usage = QStringLiteral("'velmora join' takes two files or more.");
    if (auto instead = given.parse(usage))
        return std::move(*instead);
    Join join;
    for (const auto& text : given.positionals()) {
        auto file = absolutePath(text);
        if (!file)
            return wrong(file.error());
        join.files.push_back(std::move(*file));
    }
    if (join.files.size() < 2)
        return wrong(usage);
    const auto chosen = parseOutput(given);
    if (!chosen)
        return wrong(chosen.error());
    join.output = *chosen;
    return join;
}

std::optional<platform::CopyFormat> copyFormat(const QString& name)
{
    using platform::CopyFormat;
    static const QHash<QString, CopyFormat> formats{
        {QStringLiteral("mp4"), CopyFormat::mp4},
        {QStringLiteral("mp4-constant"), CopyFormat::mp4},
        {QStringLiteral("gif"), CopyFormat::gif},
        {QStringLiteral("webp"), CopyFormat::webp},
        {QStringLiteral("webm"), CopyFormat::webm},
    };
    const auto found = formats.find(name);
    return found == formats.end() ? std::nullopt : std::optional{*found};
}

Parsed parseShare(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse(QStringLiteral("'velmora share' takes one file.")))
        return std::move(*instead);
    auto file = absolutePath(given.positional());
    if (!file)
        return wrong(file.error());
    Share share{.file = std::move(*file), .json = given.isSet("json")};
    if (given.isSet("format")) {
        const auto format = given.value("format");
        const auto known = copyFormat(format);
        if (!known)
            return wrong(QStringLiteral("'%1' is not a format; there are mp4, mp4-constant, gif, webp and webm.").arg(format));
        share.settings.format = *known;
        share.settings.hasConstantRate = format == QLatin1String("mp4-constant");
    }
    if (given.isSet("limit")) {
        const auto limit = small_file::parseLimit(given.value("limit").toStdString());
        if (!limit)
            return wrong(QStringLiteral("'%1' is not a size, such as 10MB, 800KB or 1.5GB.").arg(given.value("limit")));
        share.settings.limit = *limit;
    } else if (!share.settings.hasConstantRate) {
        share.settings.limit = small_file::usualLimits[0];
    }
    const auto chosen = parseOutput(given);
    if (!chosen)
        return wrong(chosen.error());
    share.output = *chosen;
    return share;
}

Parsed parseSelect(const QStringList& arguments)
{
    const auto usage = QStringLiteral("'velmora select' takes one window's number; 'velmora windows' lists them.");
    Arguments given{arguments};
    if (auto instead = given.parse(usage))
        return std::move(*instead);
    Control control{.action = Control::Action::select, .windowID = 0, .json = false, .file = {}};
    for (const auto& [option, text] : {std::pair{"application", &control.application}, {"title", &control.title}}) {
        *text = given.value(option).toStdString();
        if (given.isSet(option) && text->empty())
            return wrong(QStringLiteral("--%1 needs a text.").arg(QLatin1String{option}));
    }
    const bool isDescribed = !control.application.empty() || !control.title.empty();
    const auto number = given.optionalPositional();
    if (number.isNull() && !isDescribed)
        return wrong(usage);
    if (!number.isNull() && isDescribed)
        return wrong(QStringLiteral("Give a window's number, or --application and --title, but not both."));
    control.wait = given.isSet("wait");
    if (control.wait && !isDescribed)
        return wrong(QStringLiteral("--wait goes with --application or --title."));
    if (!isDescribed) {
        const auto windowID = parseWindowID(number);
        if (!windowID)
            return notAWindow(number);
        control.windowID = *windowID;
    }
    const auto sound = parseSound(given);
    if (!sound)
        return wrong(sound.error());
    control.sound = *sound;
    return control;
}

Parsed parseReplay(const QStringList& arguments)
{
    const auto usage = QStringLiteral("'velmora replay' takes on, off or save, and seconds after on or save.");
    Arguments given{arguments};
    if (auto instead = given.parse(usage))
        return std::move(*instead);
    Control control{.action = Control::Action::replayOn, .windowID = 0, .json = false, .file = {}};
    if (given.positional() == QLatin1String("save"))
        control.action = Control::Action::replaySave;
    else if (given.positional() == QLatin1String("off"))
        control.action = Control::Action::replayOff;
    else if (given.positional() != QLatin1String("on"))
        return wrong(usage);
    const auto length = given.optionalPositional();
    if (length.isNull())
        return control;
    if (control.action == Control::Action::replayOff)
        return wrong(usage);
    const auto seconds = parsePlainNumber(length, true);
    if (!seconds || *seconds <= 0)
        return wrong(QStringLiteral("'%1' is not a number of seconds above zero.").arg(length));
    control.seconds = *seconds;
    return control;
}

Parsed parseRestore(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse(QStringLiteral("'velmora restore' takes at most one name; 'velmora restore --list' lists them.")))
        return std::move(*instead);
    Restore restore{.list = given.isSet("list"), .json = given.isSet("json")};
    const auto name = given.optionalPositional();
    if (restore.json && !restore.list)
        return wrong(QStringLiteral("--json goes with --list."));
    if (restore.list && !name.isNull())
        return wrong(QStringLiteral("--list takes no name."));
    if (!name.isNull())
        restore.name = bytesOf(name);
    return restore;
}

Parsed parseEvents(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse())
        return std::move(*instead);
    return Events{.json = given.isSet("json")};
}

Parsed parsePreview(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse(QStringLiteral("'velmora preview' takes one file.")))
        return std::move(*instead);
    auto file = absolutePath(given.positional());
    if (!file)
        return wrong(file.error());
    return Control{.action = Control::Action::preview, .windowID = 0, .json = false, .file = std::move(*file)};
}

Parsed parseStatus(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse())
        return std::move(*instead);
    return Control{.action = Control::Action::status, .windowID = 0, .json = given.isSet("json"), .file = {}};
}

Parsed parsePause(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse())
        return std::move(*instead);
    const auto action = given.isSet("toggle") ? Control::Action::togglePause : Control::Action::pause;
    return Control{.action = action, .windowID = 0, .json = false, .file = {}};
}

template <Control::Action action>
Parsed parsePlainControl(const QStringList& arguments)
{
    Arguments given{arguments};
    if (auto instead = given.parse())
        return std::move(*instead);
    return Control{.action = action, .windowID = 0, .json = false, .file = {}};
}

using Parser = Parsed (*)(const QStringList&);

Parser parserOf(const QString& command)
{
    static const QHash<QString, Parser> parsers{
        {QStringLiteral("windows"), parseWindows},
        {QStringLiteral("doctor"), parseDoctor},
        {QStringLiteral("record"), parseRecord},
        {QStringLiteral("repair"), parseRepair},
        {QStringLiteral("trim"), parseTrim},
        {QStringLiteral("join"), parseJoin},
        {QStringLiteral("share"), parseShare},
        {QStringLiteral("toggle"), parsePlainControl<Control::Action::toggle>},
        {QStringLiteral("pause"), parsePause},
        {QStringLiteral("resume"), parsePlainControl<Control::Action::resume>},
        {QStringLiteral("choose"), parsePlainControl<Control::Action::choose>},
        {QStringLiteral("clips"), parsePlainControl<Control::Action::clips>},
        {QStringLiteral("select"), parseSelect},
        {QStringLiteral("stop"), parsePlainControl<Control::Action::stop>},
        {QStringLiteral("status"), parseStatus},
        {QStringLiteral("events"), parseEvents},
        {QStringLiteral("replay"), parseReplay},
        {QStringLiteral("restore"), parseRestore},
        {QStringLiteral("preview"), parsePreview},
        {QStringLiteral("quit"), parsePlainControl<Control::Action::quit>},
    };
    return parsers.value(command, nullptr);
}

}  // namespace

QString argumentText(std::string_view bytes)
{
    auto whole = text(bytes);
    if (whole.toUtf8().toStdString() == bytes)
        return whole;
    QString result;
    while (!bytes.empty()) {
        constexpr std::size_t longest = 4;
        std::size_t length = 1;
        while (length <= std::min(longest, bytes.size()) && text(bytes.substr(0, length)).toUtf8().toStdString() != bytes.substr(0, length))
            ++length;
        if (length <= std::min(longest, bytes.size())) {
            result += text(bytes.substr(0, length));
        } else {
            length = 1;
            result += QChar{static_cast<ushort>(firstByteOfNoText + static_cast<unsigned char>(bytes.front()))};
        }
        bytes.remove_prefix(length);
    }
    return result;
}

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
    return QString::fromStdString(usageText());
}

}  // namespace velmora::command_line
