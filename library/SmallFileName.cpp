#include "library/SmallFileName.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace velmora::small_file {

namespace {

/// What file systems take, without the number that may follow.
constexpr std::size_t longestName = 240;

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

std::optional<double> unitOf(std::string_view text)
{
    std::string unit{trimmed(text)};
    std::transform(unit.begin(), unit.end(), unit.begin(), lower);
    constexpr double kibi = 1024;
    constexpr std::array<std::pair<std::string_view, double>, 11> units{{{"", 1e6}, {"b", 1}, {"k", 1e3}, {"kb", 1e3}, {"m", 1e6},
        {"mb", 1e6}, {"g", 1e9}, {"gb", 1e9}, {"kib", kibi}, {"mib", kibi * kibi}, {"gib", kibi * kibi * kibi}}};
    for (const auto& [name, bytes] : units) {
        if (unit == name)
            return bytes;
    }
    return std::nullopt;
}

/// The beginning of a name, whole characters of UTF-8 where it is that.
std::string shortened(std::string name, std::size_t length)
{
    if (name.size() <= length)
        return name;
    const auto continues = [&](std::size_t at) { return (static_cast<unsigned char>(name[at]) & 0xC0) == 0x80; };
    while (length > 0 && continues(length))
        --length;
    name.resize(length);
    return name;
}

const char* extensionOf(platform::CopyFormat format)
{
    switch (format) {
    case platform::CopyFormat::gif:
        return ".gif";
    case platform::CopyFormat::webp:
        return ".webp";
    case platform::CopyFormat::webm:
        return ".webm";
    case platform::CopyFormat::mp4:
        break;
    }
    return ".mp4";
}

}  // namespace

std::string limitText(std::uint64_t bytes)
{
    // Hundredths, rounded down: the limit is not more than is said.
    const auto hundredths = bytes / (bytesOfMegabyte / 100);
    auto text = std::to_string(hundredths / 100);
    if (const auto rest = hundredths % 100; rest > 0)
        text += '.' + std::to_string(rest / 10) + (rest % 10 > 0 ? std::to_string(rest % 10) : std::string{});
    return text + " MB";
}

std::optional<std::uint64_t> parseLimit(std::string_view text)
{
    text = trimmed(text);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc{})
        return std::nullopt;
    const auto unit = unitOf(text.substr(static_cast<std::size_t>(end - text.data())));
    constexpr double most = 1e15;
    if (!unit || !std::isfinite(number) || number * *unit < 1 || number * *unit > most)
        return std::nullopt;
    return static_cast<std::uint64_t>(number * *unit);
}

std::filesystem::path folderFor(const std::filesystem::path& clipsFolder)
{
    return clipsFolder / "Shared";
}

platform::ExportSession::NextOutputURL namesFor(const std::filesystem::path& clip, const std::filesystem::path& folder,
    const platform::TranscodingSettings& settings, std::shared_ptr<platform::FileManager> files)
{
    std::string suffix;
    if (settings.limit > 0) {
        suffix = "-" + limitText(settings.limit);
        std::erase(suffix, ' ');
    }
    if (settings.hasConstantRate)
        suffix += "-constant";
    const std::string extension = extensionOf(settings.format);
    const auto name = shortened(clip.stem().native(), longestName - suffix.size() - extension.size()) + suffix;
    return [folder, name, extension, files = std::move(files), number = 0U]() mutable -> std::optional<std::filesystem::path> {
        constexpr unsigned most = 1'000'000;
        while (number < most) {
            auto fileName = name;
            if (number > 0)
                fileName += '-' + std::to_string(number);
            fileName += extension;
            ++number;
            const auto path = folder / fileName;
            if (!files->fileExists(path))
                return path;
        }
        return std::nullopt;
    };
}

}  // namespace velmora::small_file
