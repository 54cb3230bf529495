#include "system/Log.h"

#include "base/SharedCell.h"

#include <cassert>
#include <cstdlib>
#include <string>

namespace velmora {

namespace {

SharedCell<platform::LogSink>& sinkCell()
{
    static SharedCell<platform::LogSink> cell;
    return cell;
}

bool revealsPrivateValues()
{
    static const bool reveals = [] {
        const char* value = std::getenv(Log::revealVariable);
        return value && *value && std::string_view{value} != "0";
    }();
    return reveals;
}

void appendArgument(std::string& message, const LogArgument& argument)
{
    if (const auto* text = std::get_if<std::string_view>(&argument))
        message += revealsPrivateValues() ? *text : "<private>";
    else if (const auto* wide = std::get_if<std::int64_t>(&argument))
        message += std::to_string(*wide);
    else if (const auto* unsignedValue = std::get_if<std::uint32_t>(&argument))
        message += std::to_string(*unsignedValue);
    else
        message += std::to_string(std::get<std::int32_t>(argument));
}

// The length of the conversion that begins at `percent`: %s, %d, %u or %ld.
std::size_t conversionLength(std::string_view format, std::size_t percent)
{
    return format.substr(percent, 2) == "%l" ? 3 : 2;
}

}  // namespace

const Logger<LogCategory::app>& Log::app()
{
    static const Logger<LogCategory::app> logger;
    return logger;
}

const Logger<LogCategory::capture>& Log::capture()
{
    static const Logger<LogCategory::capture> logger;
    return logger;
}

const Logger<LogCategory::buffer>& Log::buffer()
{
    static const Logger<LogCategory::buffer> logger;
    return logger;
}

const Logger<LogCategory::exporter>& Log::exporter()
{
    static const Logger<LogCategory::exporter> logger;
    return logger;
}

const Logger<LogCategory::hotkey>& Log::hotkey()
{
    static const Logger<LogCategory::hotkey> logger;
    return logger;
}

const Logger<LogCategory::permissions>& Log::permissions()
{
    static const Logger<LogCategory::permissions> logger;
    return logger;
}

const Logger<LogCategory::library>& Log::library()
{
    static const Logger<LogCategory::library> logger;
    return logger;
}

std::shared_ptr<platform::LogSink> Log::setSink(std::shared_ptr<platform::LogSink> sink)
{
    return sinkCell().exchange(std::move(sink));
}

std::string_view Log::categoryName(LogCategory category)
{
    switch (category) {
    case LogCategory::app:
        return "App";
    case LogCategory::capture:
        return "Capture";
    case LogCategory::buffer:
        return "Buffer";
    case LogCategory::exporter:
        return "Exporter";
    case LogCategory::hotkey:
        return "HotKey";
    case LogCategory::permissions:
        return "Permissions";
    case LogCategory::library:
        return "Library";
    }
    assert(false);
    return {};
}

void Log::write(LogCategory category, LogLevel level, std::string_view format, std::span<const LogArgument> arguments)
{
    const auto sink = sinkCell().load();
    if (!sink)
        return;
    std::string message;
    message.reserve(format.size() + 32);
    std::size_t next = 0;
    for (const auto& argument : arguments) {
        const auto percent = format.find('%', next);
        assert(percent != std::string_view::npos);
        message += format.substr(next, percent - next);
        appendArgument(message, argument);
        next = percent + conversionLength(format, percent);
    }
    message += format.substr(next);
    sink->write({subsystem, categoryName(category), level, message});
}

}  // namespace velmora
