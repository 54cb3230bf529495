#include "platform/mac/MacTrash.h"

#include "engine/files/MovableFile.h"

#include <cerrno>
#include <charconv>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace velmora::mac_backend {

namespace {

/// A record's text: lines of this, two numbers of the file, the seconds, whether it was offered, and, each ended by a NUL, the two paths,
/// which may hold line ends.
constexpr std::string_view heading = "Velmora discarded recording 1";
constexpr std::string_view suffix = ".discarded";

struct FileNumber {
    std::uint64_t device = 0;
    std::uint64_t file = 0;

    friend bool operator==(const FileNumber&, const FileNumber&) = default;
};

std::optional<FileNumber> numberOf(const std::filesystem::path& path)
{
    struct stat found { };
    if (::lstat(path.c_str(), &found) != 0)
        return std::nullopt;
    return FileNumber{static_cast<std::uint64_t>(found.st_dev), static_cast<std::uint64_t>(found.st_ino)};
}

struct Record {
    FileNumber number;
    std::int64_t seconds = 0;
    bool wasOffered = false;
    std::filesystem::path file;
    std::filesystem::path origin;
};

std::string textOf(const Record& record)
{
    const auto line = [](const auto& value) { return std::to_string(value) + '\n'; };
    return std::string{heading} + '\n' + line(record.number.device) + line(record.number.file) + line(record.seconds)
        + line(record.wasOffered ? 1 : 0) + record.file.native() + '\0' + record.origin.native() + '\0';
}

std::optional<std::string_view> taken(std::string_view& text, char end)
{
    const auto length = text.find(end);
    if (length == std::string_view::npos)
        return std::nullopt;
    const auto part = text.substr(0, length);
    text.remove_prefix(length + 1);
    return part;
}

template <typename Number>
bool take(std::string_view& text, Number& number)
{
    const auto line = taken(text, '\n');
    if (!line)
        return false;
    const auto [end, error] = std::from_chars(line->data(), line->data() + line->size(), number);
    return error == std::errc{} && end == line->data() + line->size();
}

/// None for what is no whole record.
std::optional<Record> recordIn(std::string_view text)
{
    Record record;
    int wasOffered = 0;
    if (taken(text, '\n') != heading || !take(text, record.number.device) || !take(text, record.number.file) || !take(text, record.seconds)
        || !take(text, wasOffered))
        return std::nullopt;
    const auto file = taken(text, '\0');
    const auto origin = taken(text, '\0');
    if (!file || !origin)
        return std::nullopt;
    record.wasOffered = wasOffered != 0;
    record.file = *file;
    record.origin = *origin;
    return record;
}

std::optional<Record> readRecord(const std::filesystem::path& path)
{
    std::ifstream stream{path, std::ios::binary};
    const std::string text{std::istreambuf_iterator<char>{stream}, {}};
    return recordIn(text);
}

/// In one step, so that nobody reads half of it.
bool writeRecord(const std::filesystem::path& path, const Record& record)
{
    auto part = path;
    part += ".part";
    {
        std::ofstream stream{part, std::ios::binary | std::ios::trunc};
        const auto text = textOf(record);
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
        stream.close();
        if (!stream)
            return false;
    }
    std::error_code error;
    std::filesystem::rename(part, path, error);
    return !error;
}

class MacTrash final : public engine::Trash {
public:
    explicit MacTrash(TrashPlaces places) : places_(std::move(places)) { }

    [[nodiscard]] Result<engine::TrashedFile> put(const std::filesystem::path& path, const Move& move) const override
    {
        auto trashed = putDeleted(path, move);
        if (!trashed)
            return trashed;
        const auto number = numberOf(trashed->file);
        std::error_code ignored;
        std::filesystem::create_directories(places_.records, ignored);
        const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        // One without a record lies in the trash all the same; it is only not offered.
        if (number) {
            auto record = recordOf(*number);
            if (writeRecord(record, {*number, now.time_since_epoch().count(), false, trashed->file, path}))
                trashed->info = std::move(record);
        }
        return trashed;
    }

    [[nodiscard]] Result<engine::TrashedFile> putDeleted(const std::filesystem::path& path, const Move& move) const override
    {
        const auto folder = places_.trashFor(path);
        if (!folder)
            return fail(folder.error());
        auto file = engine::underAFreeName(*folder, path.filename(), move);
        if (!file)
            return fail(file.error());
        return engine::TrashedFile{std::move(*file), {}};
    }

    void remove(const engine::TrashedFile& trashed) const override
    {
        std::error_code ignored;
        std::filesystem::remove(trashed.file, ignored);
        if (!trashed.info.empty())
            std::filesystem::remove(trashed.info, ignored);
    }

    [[nodiscard]] std::vector<engine::TrashEntry> entries() const override
    {
        std::vector<engine::TrashEntry> all;
        std::error_code error;
        for (auto each = std::filesystem::directory_iterator{places_.records, error};
             !error && each != std::filesystem::directory_iterator{}; each.increment(error)) {
            if (each->path().extension() != suffix)
                continue;
            const auto record = readRecord(each->path());
            if (!record)
                continue;
            if (auto found = entryOf(*record, each->path()))
                all.push_back(std::move(*found));
        }
        return all;
    }

    [[nodiscard]] std::optional<engine::TrashEntry> entry(const engine::TrashedFile& trashed) const override
    {
        const auto record = readRecord(trashed.info);
        if (!record || record->file != trashed.file)
            return std::nullopt;
        return entryOf(*record, trashed.info);
    }

    void noteOffered(const engine::TrashedFile& trashed) const override
    {
        auto record = readRecord(trashed.info);
        if (!record)
            return;
        record->wasOffered = true;
        writeRecord(trashed.info, *record);
    }

private:
    [[nodiscard]] std::filesystem::path recordOf(const FileNumber& number) const
    {
        return places_.records / (std::to_string(number.device) + '-' + std::to_string(number.file) + std::string{suffix});
    }

    /// None where the file has gone, or is another by now; of one that has gone the record goes too.
    static std::optional<engine::TrashEntry> entryOf(const Record& record, const std::filesystem::path& info)
    {
        const auto number = numberOf(record.file);
        if (number != record.number) {
            std::error_code ignored;
            // Where the system does not let us look, that says nothing.
            if (number || errno == ENOENT)
                std::filesystem::remove(info, ignored);
            return std::nullopt;
        }
        return engine::TrashEntry{{record.file, info}, record.origin,
            std::chrono::system_clock::time_point{std::chrono::seconds{record.seconds}}, record.wasOffered};
    }

    const TrashPlaces places_;
};

}  // namespace

std::shared_ptr<engine::Trash> makeTrash(TrashPlaces places)
{
    return std::make_shared<MacTrash>(std::move(places));
}

}  // namespace velmora::mac_backend
