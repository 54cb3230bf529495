#include "platform/linux/desktop/Trash.h"

#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <string>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace velmora::linux_backend {
namespace {

namespace fs = std::filesystem;
using test::namesIn;
using test::TemporaryDirectory;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

void writeText(const fs::path& path, const std::string& text)
{
    std::ofstream{path} << text;
}

std::string textOf(const fs::path& path)
{
    std::ifstream file{path};
    return {std::istreambuf_iterator<char>{file}, {}};
}

unsigned permissionsOf(const fs::path& path)
{
    struct stat status { };
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
}

Result<void> moveInOneStep(const fs::path& from, const fs::path& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    return fail(posixError(errno, to.native()));
}

class TrashTest : public ::testing::Test {
protected:
    [[nodiscard]] Result<engine::TrashedFile> put(const fs::path& path) const
    {
        return trash().put(path, [&](const fs::path& to) { return moveInOneStep(path, to); });
    }

    /// As where the user's own trash is on a different file system from the file.
    [[nodiscard]] Result<engine::TrashedFile> putFromElsewhere(const fs::path& path) const
    {
        return trash().put(path, [&](const fs::path& to) -> Result<void> {
            if (to.native().starts_with(home().native()))
                return fail(posixError(EXDEV, to.native()));
            return moveInOneStep(path, to);
        });
    }

    [[nodiscard]] Trash trash() const
    {
        return Trash{{home(), [this](const fs::path&) { return top_; }, user_}};
    }

    [[nodiscard]] fs::path home() const { return data_.path() / "Trash"; }

    /// A file that holds its own name.
    [[nodiscard]] fs::path makeFile(const std::string& name) const
    {
        writeText(clips_.path() / name, name);
        return clips_.path() / name;
    }

    TemporaryDirectory data_;
    TemporaryDirectory clips_;
    fs::path top_;
    uid_t user_ = ::geteuid();
};

TEST_F(TrashTest, KeepsTheFileWithWhereItLayAndTheLocalTime)
{
    ::tzset();  // a traveller changes the zone while the program runs
    ASSERT_EQ(::setenv("TZ", "HERE-05:45", 1), 0);
    const auto localTime = [] {
        const auto now = std::time(nullptr) + 5 * 3600 + 45 * 60;
        std::tm parts{};
        ::gmtime_r(&now, &parts);
        char text[32];
        return std::string{text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts)};
    };
    const auto file = makeFile("My clip 100%.mp4");
    const auto before = localTime();
    const auto trashed = put(file);
    const auto after = localTime();
    ::unsetenv("TZ");
    ::tzset();
    ASSERT_TRUE(trashed) << trashed.error().localizedDescription;
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(trashed->file, home() / "files/My clip 100%.mp4");
    EXPECT_EQ(textOf(trashed->file), "My clip 100%.mp4");
    EXPECT_EQ(trashed->info, home() / "info/My clip 100%.mp4.trashinfo");
    const auto info = textOf(trashed->info);
    const auto start = "[Trash Info]\nPath=" + clips_.path().native() + "/My%20clip%20100%25.mp4\nDeletionDate=";
    ASSERT_TRUE(info.starts_with(start)) << info;
    EXPECT_EQ(info.substr(start.size() + before.size()), "\nX-Velmora-Recording=new\n");
    const auto date = info.substr(start.size(), before.size());
    EXPECT_GE(date, before);
    EXPECT_LE(date, after);
}

TEST_F(TrashTest, IsMadeForItsUserAloneWithTheFoldersAboveIt)
{
    const auto mask = ::umask(0);
    const auto file = makeFile("clip.mp4");
    const Trash trash{{data_.path() / "of/mine/Trash", {}, user_}};
    const auto trashed = trash.put(file, [&](const fs::path& to) { return moveInOneStep(file, to); });
    ::umask(mask);
    ASSERT_TRUE(trashed);
    for (const auto* folder : {"of", "of/mine", "of/mine/Trash", "of/mine/Trash/files", "of/mine/Trash/info"})
        EXPECT_EQ(permissionsOf(data_.path() / folder), 0700U) << folder;
    EXPECT_EQ(permissionsOf(trashed->info), 0600U);
}

TEST_F(TrashTest, WhatIsRemovedLeavesNothing)
{
    const auto trashed = put(makeFile("clip.mp4"));
    ASSERT_TRUE(trashed);
    trash().remove(*trashed);
    EXPECT_THAT(namesIn(home() / "files"), IsEmpty());
    EXPECT_THAT(namesIn(home() / "info"), IsEmpty());
}

TEST_F(TrashTest, NamesThatAreTakenGetACounter)
{
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(put(makeFile("clip.mp4")));
    EXPECT_THAT(namesIn(home() / "files"), ElementsAre("clip.2.mp4", "clip.3.mp4", "clip.mp4"));
    EXPECT_THAT(namesIn(home() / "info"), ElementsAre("clip.2.mp4.trashinfo", "clip.3.mp4.trashinfo", "clip.mp4.trashinfo"));
    EXPECT_EQ(textOf(home() / "files/clip.2.mp4"), "clip.mp4");

    // Another program may have left a file without information, or the information without its file.
    writeText(home() / "files/other.mp4", "precious");
    writeText(home() / "info/other.2.mp4.trashinfo", "precious");
    const auto trashed = put(makeFile("other.mp4"));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->file.filename(), "other.3.mp4");
    EXPECT_EQ(textOf(home() / "files/other.mp4"), "precious");
    EXPECT_EQ(textOf(home() / "info/other.2.mp4.trashinfo"), "precious");
    EXPECT_FALSE(fs::exists(home() / "info/other.mp4.trashinfo"));
    EXPECT_FALSE(fs::exists(home() / "files/other.2.mp4"));
}

TEST_F(TrashTest, WhereEveryNameIsTakenItSaysSo)
{
    const auto file = makeFile("clip.mp4");
    const auto trashed = trash().put(file, [](const fs::path& to) -> Result<void> { return fail(posixError(EEXIST, to.native())); });
    ASSERT_FALSE(trashed);
    EXPECT_EQ(trashed.error().code, EEXIST);
    EXPECT_THAT(namesIn(home() / "info"), IsEmpty());
}

TEST_F(TrashTest, ANameThatIsNoTextIsKeptByteForByte)
{
    const auto trashed = put(makeFile("a\xFF\nb ü.mp4"));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->file.filename().native(), "a\xFF\nb ü.mp4");
    EXPECT_THAT(textOf(trashed->info), HasSubstr("/a%FF%0Ab%20%C3%BC.mp4\n"));
}

TEST_F(TrashTest, ANameThatIsTooLongIsCutBetweenTwoCharactersAndKeptWholeInTheInformation)
{
    std::string name;
    while (name.size() < 250)
        name += "ü";
    name += ".mp4";  // 254 bytes; with the information's suffix the limit is 245
    std::string cut;
    while (cut.size() < 240)
        cut += "ü";
    for (const auto& expected : {cut + ".mp4", cut.substr(0, 238) + ".2.mp4"}) {
        const auto trashed = put(makeFile(name));
        ASSERT_TRUE(trashed) << trashed.error().localizedDescription;
        EXPECT_EQ(trashed->file.filename().native(), expected);
        EXPECT_EQ(textOf(trashed->file), name);
        std::string encoded;
        while (encoded.size() < 250 * 3)
            encoded += "%C3%BC";
        EXPECT_THAT(textOf(trashed->info), HasSubstr("/" + encoded + ".mp4\n"));
    }
    // No character begins anywhere in this one, and its extension is the whole of it.
    const auto trashed = put(makeFile(std::string(255, '\x80')));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->file.filename().native(), std::string(242, '\x80'));
    EXPECT_TRUE(put(makeFile("a." + std::string(253, 'x'))));
}

TEST_F(TrashTest, AFileInItsPlaceIsNoTrashAndTheFileStays)
{
    const auto file = makeFile("clip.mp4");
    writeText(home(), "a file");
    EXPECT_FALSE(put(file));
    EXPECT_EQ(textOf(file), "clip.mp4");
    fs::remove(home());
    fs::create_symlink(data_.path() / "nowhere", home());
    EXPECT_FALSE(put(file));
    fs::remove(home());
    fs::create_directory(home());
    writeText(home() / "info", "a file");
    EXPECT_FALSE(put(file));
    EXPECT_EQ(textOf(file), "clip.mp4");
    EXPECT_THAT(namesIn(home() / "files"), IsEmpty());
}

/// For this thread, which may not write to what is root's.
class WithoutPrivileges {
public:
    WithoutPrivileges() { ::setfsuid(65534); }
    ~WithoutPrivileges() { ::setfsuid(::geteuid()); }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
};

TEST_F(TrashTest, ThatIsReadOnlyTakesNothing)
{
    const auto file = makeFile("clip.mp4");
    fs::create_directories(home() / "files");
    fs::create_directories(home() / "info");
    fs::permissions(clips_.path(), fs::perms{0777});
    for (const auto& folder : {data_.path(), home(), home() / "files", home() / "info"})
        fs::permissions(folder, fs::perms{0555});
    const auto trashed = [&] {
        const WithoutPrivileges unprivileged;
        return put(file);
    }();
    for (const auto& folder : {data_.path(), home()})
        fs::permissions(folder, fs::perms{0755});
    ASSERT_FALSE(trashed);
    EXPECT_EQ(trashed.error().code, EACCES);
    EXPECT_EQ(textOf(file), "clip.mp4");
    EXPECT_THAT(namesIn(home() / "info"), IsEmpty());
}

TEST_F(TrashTest, WhereTheInformationCannotBeWrittenNothingIsLeftOfIt)
{
    const auto file = makeFile("clip.mp4");
    struct rlimit limit { };
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    for (const rlim_t size : {0U, 20U}) {
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit small {
            size, limit.rlim_max
        };
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const auto trashed = put(file);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        std::signal(SIGXFSZ, handler);
        EXPECT_FALSE(trashed) << size;
        EXPECT_EQ(textOf(file), "clip.mp4");
        EXPECT_THAT(namesIn(home() / "info"), IsEmpty()) << size;
    }
}

TEST_F(TrashTest, WhereTheFileCannotBeMovedItsInformationIsRemoved)
{
    const auto file = makeFile("clip.mp4");
    const auto trashed = trash().put(file, [](const fs::path& to) -> Result<void> { return fail(posixError(EROFS, to.native())); });
    ASSERT_FALSE(trashed);
    EXPECT_EQ(trashed.error().code, EROFS);
    EXPECT_THAT(namesIn(home() / "info"), IsEmpty());
}

TEST_F(TrashTest, OfAnotherFileSystemIsTheUsersAtItsTop)
{
    top_ = clips_.path();
    fs::create_directories(top_ / "films/new");
    writeText(top_ / "films/new/a clip.mp4", "clip");
    fs::create_directory_symlink(top_ / "films", data_.path() / "link");
    const auto trashed = putFromElsewhere(data_.path() / "link/new/a clip.mp4");
    ASSERT_TRUE(trashed) << trashed.error().localizedDescription;
    const auto folder = top_ / (".Trash-" + std::to_string(user_));
    EXPECT_EQ(trashed->file, folder / "files/a clip.mp4");
    EXPECT_EQ(textOf(trashed->file), "clip");
    EXPECT_EQ(permissionsOf(folder), 0700U);
    EXPECT_THAT(textOf(trashed->info), HasSubstr("\nPath=films/new/a%20clip.mp4\n"));
    EXPECT_THAT(namesIn(home() / "info"), IsEmpty());
    EXPECT_EQ(put(makeFile("reachable.mp4"))->file, home() / "files/reachable.mp4") << "the user's own comes first";
}

TEST_F(TrashTest, OfAnotherFileSystemIsTheSharedOneWhereAnAdministratorMadeItSafely)
{
    top_ = clips_.path();
    const auto own = ".Trash-" + std::to_string(user_);
    const auto shared = top_ / ".Trash";
    fs::create_directory(shared);
    ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
    auto trashed = putFromElsewhere(makeFile("safe.mp4"));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->file, shared / std::to_string(user_) / "files/safe.mp4");
    EXPECT_EQ(permissionsOf(shared / std::to_string(user_)), 0700U);
    EXPECT_THAT(textOf(trashed->info), HasSubstr("\nPath=safe.mp4\n"));
    EXPECT_FALSE(fs::exists(top_ / own));

    ASSERT_EQ(::chmod(shared.c_str(), 0777), 0);
    trashed = putFromElsewhere(makeFile("not-sticky.mp4"));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->file, top_ / own / "files/not-sticky.mp4");

    fs::rename(shared, top_ / "elsewhere");
    ASSERT_EQ(::chmod((top_ / "elsewhere").c_str(), 01777), 0);
    fs::create_directory_symlink(top_ / "elsewhere", shared);
    trashed = putFromElsewhere(makeFile("link.mp4"));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->file, top_ / own / "files/link.mp4");

    // A trash that cannot be used is no reason to delete the file.
    fs::remove(shared);
    fs::create_directory(shared);
    ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
    writeText(shared / std::to_string(user_), "a file");
    trashed = putFromElsewhere(makeFile("spoiled.mp4"));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->file, top_ / own / "files/spoiled.mp4");
}

TEST_F(TrashTest, OfAnotherFileSystemIsNoLinkAndNotSomebodyElses)
{
    top_ = clips_.path();
    const auto file = makeFile("clip.mp4");
    const auto own = top_ / (".Trash-" + std::to_string(user_));
    fs::create_directory_symlink(data_.path(), own);
    const auto linked = putFromElsewhere(file);
    ASSERT_FALSE(linked);
    EXPECT_EQ(linked.error().code, ENOTDIR);
    EXPECT_EQ(textOf(file), "clip.mp4");
    EXPECT_THAT(namesIn(data_.path()), ElementsAre("Trash"));

    ++user_;
    fs::create_directory(top_ / (".Trash-" + std::to_string(user_)));
    const auto somebodyElses = putFromElsewhere(file);
    ASSERT_FALSE(somebodyElses);
    EXPECT_EQ(somebodyElses.error().code, EPERM);
    EXPECT_EQ(textOf(file), "clip.mp4");
}

TEST_F(TrashTest, WithoutAnyPlaceTakesNothing)
{
    const auto file = makeFile("clip.mp4");
    EXPECT_FALSE(Trash({{}, {}, user_}).put(file, [&](const fs::path& to) { return moveInOneStep(file, to); }));
    EXPECT_FALSE(putFromElsewhere(file)) << "nobody knows the top of the file system";
    EXPECT_EQ(textOf(file), "clip.mp4");
}

TEST_F(TrashTest, OnARealOtherFileSystemTheKernelDecides)
{
    std::string pattern = "/dev/shm/velmora-test-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        GTEST_SKIP() << "there is no /dev/shm that can be written to";
    top_ = pattern;
    const auto file = top_ / "clip.mp4";
    writeText(file, "clip");
    const auto trashed = put(file);
    const auto own = top_ / (".Trash-" + std::to_string(user_));
    struct stat data { };
    struct stat other { };
    ASSERT_EQ(::stat(data_.path().c_str(), &data), 0);
    ASSERT_EQ(::stat(top_.c_str(), &other), 0);
    EXPECT_TRUE(trashed);
    if (trashed) {
        EXPECT_EQ(trashed->file, (data.st_dev == other.st_dev ? home() : own) / "files/clip.mp4");
        EXPECT_EQ(textOf(trashed->file), "clip");
    }
    EXPECT_FALSE(fs::exists(file));
    fs::remove_all(top_);
}

/// With one that has a top folder, and one that somebody else put in.
class TrashEntriesTest : public TrashTest {
protected:
    [[nodiscard]] std::vector<engine::TrashEntry> entries() const { return trash().entries(); }

    /// As if a file browser, or somebody unkind, had written it.
    void putByAnother(const std::string& name, const std::string& info) const
    {
        fs::create_directories(home() / "files");
        fs::create_directories(home() / "info");
        writeText(home() / "files" / name, "theirs");
        writeText(home() / "info" / (name + ".trashinfo"), info);
    }
};

TEST_F(TrashEntriesTest, AreTheFilesThatWerePutInWithWhereAndWhen)
{
    EXPECT_THAT(entries(), IsEmpty());
    const auto file = makeFile("My \xFF clip\n100%.mp4");
    const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const auto trashed = put(file);
    ASSERT_TRUE(trashed);
    const auto found = entries();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].trashed.file, trashed->file);
    EXPECT_EQ(found[0].trashed.info, trashed->info);
    EXPECT_EQ(found[0].origin, file);
    EXPECT_GE(found[0].deleted, before);
    EXPECT_LE(found[0].deleted, std::chrono::system_clock::now());
    EXPECT_FALSE(found[0].wasOffered);
}

TEST_F(TrashEntriesTest, AreNotThoseOfOthersNorWhatHasNoFileAnyMore)
{
    putByAnother("theirs.mp4", "[Trash Info]\nPath=/a/theirs.mp4\nDeletionDate=2026-01-02T03:04:05\n");
    putByAnother("no-heading.mp4", "Path=/a/b.mp4\nDeletionDate=2026-01-02T03:04:05\nX-Velmora-Recording=new\n");
    putByAnother("no-path.mp4", "[Trash Info]\nDeletionDate=2026-01-02T03:04:05\nX-Velmora-Recording=new\n");
    putByAnother("no-date.mp4", "[Trash Info]\nPath=/a/b.mp4\nX-Velmora-Recording=new\n");
    putByAnother("odd-date.mp4", "[Trash Info]\nPath=/a/b.mp4\nDeletionDate=today\nX-Velmora-Recording=new\n");
    putByAnother("zero.mp4", "[Trash Info]\nPath=/a%00/b.mp4\nDeletionDate=2026-01-02T03:04:05\nX-Velmora-Recording=new\n");
    putByAnother("empty.mp4", "");
    ASSERT_TRUE(put(makeFile("emptied.mp4")));
    fs::remove(home() / "files/emptied.mp4");
    ASSERT_TRUE(put(makeFile("folder.mp4")));
    fs::remove(home() / "files/folder.mp4");
    fs::create_directory(home() / "files/folder.mp4");
    ASSERT_TRUE(put(makeFile("link.mp4")));
    fs::rename(home() / "files/link.mp4", data_.path() / "target");
    fs::create_symlink(data_.path() / "target", home() / "files/link.mp4");
    ASSERT_EQ(::mkfifo((home() / "info/fifo.mp4.trashinfo").c_str(), 0600), 0);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(TrashEntriesTest, HaveTheFirstOfAKeyThatIsThereTwiceAndIgnoreOtherKeys)
{
    putByAnother("clip.mp4",
        "[Trash Info]\nSize=3\nX-Velmora-Recording=old\nPath=/first%20one.mp4\nPath=/second.mp4\nDeletionDate=2026-01-02T03:04:05\n"
        "X-Velmora-Recording=new\nDeletionDate=2027-01-02T03:04:05\n");
    const auto found = entries();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].origin, "/first one.mp4");
    EXPECT_TRUE(found[0].wasOffered);
    std::tm local{};
    const auto time = std::chrono::system_clock::to_time_t(found[0].deleted);
    ASSERT_TRUE(::localtime_r(&time, &local));
    EXPECT_EQ(local.tm_year, 126);
    EXPECT_EQ(local.tm_hour, 3);
    EXPECT_EQ(local.tm_sec, 5);
}

TEST_F(TrashEntriesTest, OfOtherFileSystemsHaveTheirWholePathAndAreListedOnce)
{
    top_ = clips_.path();
    fs::create_directory(top_ / "films");
    const auto own = putFromElsewhere(makeFile("films/own.mp4"));
    const auto shared = top_ / ".Trash";
    fs::create_directory(shared);
    ASSERT_EQ(::chmod(shared.c_str(), 01777), 0);
    const auto inShared = putFromElsewhere(makeFile("films/shared.mp4"));
    ASSERT_TRUE(own && inShared);
    const Trash trash{{home(), {}, user_, [this] { return std::vector<fs::path>{top_, "/nowhere", top_}; }}};
    std::vector<fs::path> origins;
    for (const auto& entry : trash.entries())
        origins.push_back(entry.origin);
    EXPECT_THAT(origins, ::testing::UnorderedElementsAre(top_ / "films/own.mp4", top_ / "films/shared.mp4"));

    // What somebody else could have put in our way.
    const Trash another{{home(), {}, user_ + 1, [this] { return std::vector<fs::path>{top_}; }}};
    fs::create_directory_symlink(top_ / (".Trash-" + std::to_string(user_)), top_ / (".Trash-" + std::to_string(user_ + 1)));
    EXPECT_THAT(another.entries(), IsEmpty());
}

TEST_F(TrashEntriesTest, RememberThatTheyWereOffered)
{
    const auto first = put(makeFile("first.mp4"));
    ASSERT_TRUE(first && put(makeFile("second.mp4")));
    const auto before = textOf(first->info);
    trash().noteOffered(*first);
    trash().noteOffered(*first);
    EXPECT_TRUE(trash().entry(*first)->wasOffered);
    EXPECT_EQ(textOf(first->info).size(), before.size());
    EXPECT_EQ(textOf(first->info).substr(0, before.size() - 4), before.substr(0, before.size() - 4));
    for (const auto& entry : entries())
        EXPECT_EQ(entry.wasOffered, entry.origin.filename() == "first.mp4");

    trash().remove(*first);
    trash().noteOffered(*first);
    EXPECT_FALSE(fs::exists(first->info)) << "the trash was emptied meanwhile";
}

TEST(Trash, KnowsWhereFileSystemsAreMounted)
{
    const auto points = mountPoints();
    EXPECT_THAT(points, ::testing::Contains(fs::path{"/"}));
    EXPECT_THAT(points, ::testing::Contains(fs::path{"/proc"}));
    EXPECT_TRUE(Trash::placesOfUser("/users/me").topDirectories);
}

TEST(Trash, AMountPointIsTheOutermostFolderOnTheSameFileSystem)
{
    EXPECT_EQ(mountPoint("/"), "/");
    EXPECT_EQ(mountPoint("/proc/self/fd"), "/proc");
    EXPECT_EQ(mountPoint("/nowhere/at all"), "");
}

TEST(Trash, TheUsersOwnLiesWhereTheEnvironmentSaysUnlessThatIsRelative)
{
    const char* given = std::getenv("XDG_DATA_HOME");
    const auto kept = given ? std::optional<std::string>{given} : std::nullopt;
    ::setenv("XDG_DATA_HOME", "/some/where", 1);
    EXPECT_EQ(Trash::placesOfUser("/users/me").home, "/some/where/Trash");
    ::setenv("XDG_DATA_HOME", "some/where", 1);
    EXPECT_EQ(Trash::placesOfUser("/users/me").home, "/users/me/.local/share/Trash");
    ::unsetenv("XDG_DATA_HOME");
    const auto places = Trash::placesOfUser("/users/me");
    EXPECT_EQ(places.home, "/users/me/.local/share/Trash");
    EXPECT_EQ(places.user, ::geteuid());
    EXPECT_EQ(places.topDirectory("/proc/self"), "/proc");
    if (kept)
        ::setenv("XDG_DATA_HOME", kept->c_str(), 1);
}

}  // namespace
}  // namespace velmora::linux_backend
