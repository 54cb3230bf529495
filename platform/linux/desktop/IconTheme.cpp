#include "platform/linux/desktop/IconTheme.h"

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

namespace velmora::linux_backend {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t largestFile = 4U << 20U;
constexpr int largestSide = 1024;  // pixels
constexpr std::size_t mostThemes = 16;
constexpr const char* lastTheme = "hicolor";
constexpr std::array extensions{".svg", ".png", ".xpm"};

/// One name, not a way to somewhere else.
bool isName(const std::string& text)
{
    return !text.empty() && text.front() != '.' && text.find('/') == std::string::npos && text.find('\0') == std::string::npos;
}

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> parts;
    while (!text.empty()) {
        const auto end = std::min(text.find(separator), text.size());
        if (end > 0)
            parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

/// The groups of an index.theme.
using ThemeIndex = std::map<std::string, std::map<std::string, std::string>>;

ThemeIndex readIndex(const fs::path& file)
{
    ThemeIndex index;
    std::error_code error;
    if (!fs::is_regular_file(file, error) || fs::file_size(file, error) > largestFile)
        return index;
    std::ifstream stream(file, std::ios::binary);
    std::map<std::string, std::string>* group = nullptr;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.size() > 2 && line.front() == '[' && line.back() == ']')
            group = &index[line.substr(1, line.size() - 2)];
        else if (const auto equals = line.find('='); group && equals != std::string::npos && line.front() != '#')
            group->emplace(line.substr(0, equals), line.substr(equals + 1));
    }
    return index;
}

int number(const std::map<std::string, std::string>& group, const char* key, int otherwise)
{
    const auto found = group.find(key);
    const int value = found == group.end() ? 0 : std::atoi(found->second.c_str());
    return value > 0 && value <= largestSide * 4 ? value : otherwise;
}

std::optional<QImage> pictureOf(const QByteArray& bytes, bool isOutline, int side)
{
    QImage square{side, side, QImage::Format_RGBA8888_Premultiplied};
    square.fill(Qt::transparent);
    QPainter painter{&square};
    if (isOutline) {
        QSvgRenderer renderer{bytes};
        if (!renderer.isValid())
            return std::nullopt;
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        renderer.render(&painter);
    } else {
        QBuffer buffer;
        buffer.setData(bytes);
        QImageReader reader{&buffer};
        // What is too large is not even decoded.
        if (const auto size = reader.size(); size.isEmpty() || size.width() > largestSide || size.height() > largestSide)
            return std::nullopt;
        const auto fitted = reader.read().scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        if (fitted.isNull())
            return std::nullopt;
        painter.drawImage((side - fitted.width()) / 2, (side - fitted.height()) / 2, fitted);
    }
    painter.end();
    return square.convertToFormat(QImage::Format_RGBA8888);
}

std::optional<platform::ApplicationIcon> drawFile(const fs::path& path, int side)
{
    std::error_code error;
    // A pipe would keep its reader waiting.
    if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > largestFile || error)
        return std::nullopt;
    QFile file{QString::fromStdString(path.string())};
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const auto picture = pictureOf(file.read(largestFile), path.extension() == ".svg", side);
    if (!picture)
        return std::nullopt;
    platform::ApplicationIcon icon{.side = side, .rgba = {}};
    icon.rgba.assign(picture->constBits(), picture->constBits() + picture->sizeInBytes());
    return icon;
}

std::optional<platform::ApplicationIcon> drawIn(const fs::path& folder, const std::string& name, int side)
{
    for (const auto* extension : extensions) {
        if (auto icon = drawFile(folder / (name + extension), side))
            return icon;
    }
    return std::nullopt;
}

}  // namespace

IconTheme::IconTheme(std::vector<fs::path> folders) : folders_(std::move(folders)) { }

IconTheme IconTheme::fromEnvironment()
{
    std::vector<fs::path> folders;
    const auto home = environment("HOME");
    const auto dataHome = environment("XDG_DATA_HOME");
    if (!home.empty())
        folders.push_back(fs::path(home) / ".icons");
    if (!dataHome.empty())
        folders.push_back(fs::path(dataHome) / "icons");
    else if (!home.empty())
        folders.push_back(fs::path(home) / ".local/share/icons");
    const auto dataDirectories = environment("XDG_DATA_DIRS");
    for (const auto& directory : split(dataDirectories.empty() ? "/usr/local/share:/usr/share" : dataDirectories, ':'))
        folders.push_back(fs::path(directory) / "icons");
    folders.emplace_back("/usr/share/pixmaps");
    return IconTheme{std::move(folders)};
}

IconTheme::Theme IconTheme::read(const std::string& name) const
{
    Theme theme;
    ThemeIndex index;
    for (const auto& folder : folders_) {
        if (index = readIndex(folder / name / "index.theme"); !index.empty())
            break;
    }
    auto& general = index["Icon Theme"];
    theme.parents = split(general["Inherits"], ',');
    for (const auto& directory : split(general["Directories"], ',')) {
        const auto& group = index[directory];
        const int size = number(group, "Size", 0);
        // Those for finer screens repeat the others.
        if (size == 0 || number(group, "Scale", 1) != 1)
            continue;
        IconFolder folder{.path = {}, .smallest = size, .largest = size};
        const auto type = group.find("Type");
        if (type != group.end() && type->second == "Scalable") {
            folder.smallest = number(group, "MinSize", size);
            folder.largest = number(group, "MaxSize", size);
        }
        for (const auto& base : folders_) {
            std::error_code error;
            folder.path = base / name / directory;
            if (fs::is_directory(folder.path, error))
                theme.folders.push_back(folder);
        }
    }
    return theme;
}

const IconTheme::Theme& IconTheme::themeNamed(const std::string& name)
{
    const auto found = themes_.find(name);
    return found != themes_.end() ? found->second : themes_.emplace(name, read(name)).first->second;
}

std::optional<platform::ApplicationIcon> IconTheme::drawFrom(const Theme& theme, const std::string& icon, int side)
{
    // Rather too large than too small, and as little of either as there is.
    const auto distance = [side](const IconFolder& folder) {
        return folder.largest < side ? std::pair{1, side - folder.largest} : std::pair{0, std::max(0, folder.smallest - side)};
    };
    std::vector<const IconFolder*> ordered;
    for (const auto& folder : theme.folders)
        ordered.push_back(&folder);
    std::stable_sort(ordered.begin(), ordered.end(), [&](const auto* one, const auto* other) { return distance(*one) < distance(*other); });
    for (const auto* folder : ordered) {
        if (auto drawn = drawIn(folder->path, icon, side))
            return drawn;
    }
    return std::nullopt;
}

std::optional<platform::ApplicationIcon> IconTheme::draw(const std::string& icon, const std::string& theme, int side)
{
    if (fs::path(icon).is_absolute())
        return drawFile(icon, side);
    auto name = icon;
    for (const std::string_view extension : extensions) {
        // Entries that name a file after all.
        if (name.ends_with(extension))
            name.resize(name.size() - extension.size());
    }
    if (!isName(name))
        return std::nullopt;
    std::vector<std::string> themes{theme};
    std::set<std::string> seen;
    for (std::size_t index = 0; index < themes.size() && seen.size() < mostThemes; ++index) {
        const auto current = themes[index];
        if (!isName(current) || current == lastTheme || !seen.insert(current).second)
            continue;
        const auto& found = themeNamed(current);
        if (auto drawn = drawFrom(found, name, side))
            return drawn;
        themes.insert(themes.end(), found.parents.begin(), found.parents.end());
    }
    if (auto drawn = drawFrom(themeNamed(lastTheme), name, side))
        return drawn;
    for (const auto& folder : folders_) {
        if (auto drawn = drawIn(folder, name, side))
            return drawn;
    }
    return std::nullopt;
}

}  // namespace velmora::linux_backend
