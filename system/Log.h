// The seven loggers.
#pragma once

#include "system/LogCatalogue.h"

#include <memory>
#include <span>
#include <type_traits>
#include <variant>

namespace velmora {

using LogArgument = std::variant<std::string_view, std::int64_t, std::uint32_t, std::int32_t>;

/// Writes the lines of one category. Immutable, thread-safe, never blocks, never fails.
template <LogCategory Category>
class Logger {
public:
    template <typename... Arguments>
    void info(const LogLine<Category, LogLevel::info, Arguments...>& line, std::type_identity_t<Arguments>... arguments) const
    {
        write(LogLevel::info, line.format, arguments...);
    }

    /// The default level.
    template <typename... Arguments>
    void notice(const LogLine<Category, LogLevel::standard, Arguments...>& line, std::type_identity_t<Arguments>... arguments) const
    {
        write(LogLevel::standard, line.format, arguments...);
    }

    template <typename... Arguments>
    void error(const LogLine<Category, LogLevel::error, Arguments...>& line, std::type_identity_t<Arguments>... arguments) const
    {
        write(LogLevel::error, line.format, arguments...);
    }

private:
    template <typename... Arguments>
    static void write(LogLevel level, std::string_view format, Arguments... arguments);
};

/// The process's loggers, and where their lines go.
class Log {
public:
    static constexpr std::string_view subsystem = "com.velmora.Velmora";

    /// Set to any value but "" and "0", this environment variable stores private values in clear.
    static constexpr const char* revealVariable = "VELMORA_LOG_REVEAL";

    Log() = delete;

    static const Logger<LogCategory::app>& app();
    static const Logger<LogCategory::capture>& capture();
    static const Logger<LogCategory::buffer>& buffer();
    static const Logger<LogCategory::exporter>& exporter();
    static const Logger<LogCategory::hotkey>& hotkey();
    static const Logger<LogCategory::permissions>& permissions();
    static const Logger<LogCategory::library>& library();

    /// Where lines go from now on; until the first call they are lost. The program calls it once, a test before and after.
    static std::shared_ptr<platform::LogSink> setSink(std::shared_ptr<platform::LogSink> sink);

    static std::string_view categoryName(LogCategory category);

    /// For Logger: fills `arguments` into `format` and hands the record to the sink.
    static void write(LogCategory category, LogLevel level, std::string_view format, std::span<const LogArgument> arguments);
};

template <LogCategory Category>
template <typename... Arguments>
void Logger<Category>::write(LogLevel level, std::string_view format, Arguments... arguments)
{
    const std::array<LogArgument, sizeof...(Arguments)> list{LogArgument{arguments}...};
    Log::write(Category, level, format, list);
}

}  // namespace velmora
