#include "platform/linux/desktop/LinuxThumbnails.h"

#include "tests/support/TemporaryDirectory.h"

#include <QImage>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace velmora::linux_backend {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Makes pictures of the size that is asked for, on the thread that asks.
class PicturesOnDemand final : public platform::AssetReader {
public:
    void loadDuration(const fs::path&, UniqueFunction<void(Result<MediaTime>)> completion) override { completion(MediaTime{1, 1}); }
    void loadPictureTimes(const fs::path&, UniqueFunction<void(Result<std::vector<MediaTime>>)> completion) override { completion({}); }
    void generateImage(const fs::path& file, MediaTime, std::int32_t width, std::int32_t height,
        UniqueFunction<void(Result<PixelBufferRef>)> completion) override
    {
        ++made;
        if (during)
            during(file);
        if (error)
            return completion(fail(*error));
        auto pixels = std::make_shared<std::vector<std::byte>>(static_cast<std::size_t>(width * height / 2 * 4), std::byte{0x60});
        auto picture = std::make_shared<PixelBuffer>();
        picture->width = width;
        picture->height = height / 2;
        picture->bytesPerRow = static_cast<std::size_t>(width) * 4;
        picture->baseAddress = pixels->data();
        picture->owner = std::move(pixels);
        completion(PixelBufferRef{std::move(picture)});
    }

    std::atomic<int> made{0};
    std::function<void(const fs::path&)> during;
    std::optional<Error> error;
};

class LinuxThumbnailsTest : public testing::Test {
protected:
    LinuxThumbnailsTest()
    {
        std::ofstream{file_} << "a film";
        setDate(1'700'000'000);
    }

    void setDate(std::int64_t seconds) const
    {
        const timespec times[2] = {{seconds, 5}, {seconds, 5}};
        ::utimensat(AT_FDCWD, file_.c_str(), times, 0);
    }

    Result<PixelBufferRef> find(int side = 256) const
    {
        std::promise<Result<PixelBufferRef>> answer;
        thumbnails_->find(file_, side, [&](Result<PixelBufferRef> picture) { answer.set_value(std::move(picture)); });
        return answer.get_future().get();
    }

    Result<PixelBufferRef> make(int side = 256) const
    {
        std::promise<Result<PixelBufferRef>> answer;
        thumbnails_->make(file_, side, [&](Result<PixelBufferRef> picture) { answer.set_value(std::move(picture)); });
        return answer.get_future().get();
    }

    [[nodiscard]] std::vector<std::string> kept() const
    {
        std::vector<std::string> found;
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(folder_, error)) {
            if (entry.is_regular_file())
                found.push_back(entry.path().lexically_relative(folder_).native());
        }
        return found;
    }

    [[nodiscard]] fs::path place(const std::string& size = "large") const { return folder_ / size / thumbnailName(thumbnailUri(file_)); }

    /// As another program would.
    void keepOne(const std::string& size, const QString& uri, const QString& date, QSize pixels = {256, 100}) const
    {
        QImage image{pixels, QImage::Format_ARGB32};
        image.fill(QColor{1, 2, 3});
        image.setText(QStringLiteral("Thumb::URI"), uri);
        image.setText(QStringLiteral("Thumb::MTime"), date);
        fs::create_directories(place(size).parent_path());
        ASSERT_TRUE(image.save(QString::fromStdString(place(size).native()), "png"));
    }
    [[nodiscard]] QString uri() const { return QString::fromStdString(thumbnailUri(file_)); }

    [[nodiscard]] static mode_t modeOf(const fs::path& path)
    {
        struct stat status { };
        ::stat(path.c_str(), &status);
        return status.st_mode & 0777;
    }

    const test::TemporaryDirectory directory_;
    const fs::path file_ = directory_.path() / "a film \xE9.mp4";
    const fs::path folder_ = directory_.path() / "cache" / "thumbnails";
    const std::shared_ptr<PicturesOnDemand> reader_ = std::make_shared<PicturesOnDemand>();
    const std::shared_ptr<platform::Thumbnails> thumbnails_ = makeThumbnails(reader_, folder_);
};

TEST_F(LinuxThumbnailsTest, NamesAreThoseThatOtherProgramsGive)
{
    // What md5sum makes of this URI.
    EXPECT_EQ(thumbnailName("file:///clips/a%20b.mp4"), "e25ed1a8c98bd6f6e85182e83fc93417.png");
    // What GLib 2.74 makes of this name.
    EXPECT_EQ(thumbnailUri("/clips/a b;[x]~!$&'()*+,:=@#?%\xC3\xA9\"<>\\^`{|}.mp4"),
        "file:///clips/a%20b%3B%5Bx%5D~!$&'()*+,:=@%23%3F%25%C3%A9%22%3C%3E%5C%5E%60%7B%7C%7D.mp4");
    EXPECT_EQ(thumbnailUri("/clips/./caf\xE9.mp4"), "file:///clips/caf%E9.mp4");
}

TEST_F(LinuxThumbnailsTest, OneThatIsMadeIsKeptForAllProgramsAndForThisUserAlone)
{
    const auto nothing = find();
    ASSERT_TRUE(nothing);
    EXPECT_EQ(*nothing, nullptr);
    const auto made = make();
    ASSERT_TRUE(made && *made);
    EXPECT_THAT(kept(), ElementsAre("large/" + place().filename().native()));
    const QImage image{QString::fromStdString(place().native())};
    EXPECT_EQ(image.size(), QSize(256, 128));
    EXPECT_EQ(image.text(QStringLiteral("Thumb::URI")), uri());
    EXPECT_EQ(image.text(QStringLiteral("Thumb::MTime")), QStringLiteral("1700000000"));
    EXPECT_EQ(image.text(QStringLiteral("Thumb::Size")), QStringLiteral("6"));
    EXPECT_EQ(modeOf(place()), 0600U);
    EXPECT_EQ(modeOf(folder_), 0700U);
    EXPECT_EQ(modeOf(folder_ / "large"), 0700U);
    const auto found = find();
    ASSERT_TRUE(found && *found);
    EXPECT_EQ((*found)->width, 256);
    EXPECT_EQ((*found)->baseAddress[0], std::byte{0x60});
    EXPECT_EQ(reader_->made, 1);
}

TEST_F(LinuxThumbnailsTest, ItsFolderIsThatOfTheSizeThatIsNeeded)
{
    for (const auto& [side, size] : {std::pair{1, "normal"}, {128, "normal"}, {129, "large"}, {257, "x-large"}, {5000, "xx-large"}}) {
        fs::remove_all(folder_);
        ASSERT_TRUE(make(side));
        EXPECT_TRUE(fs::exists(place(size))) << side;
    }
}

TEST_F(LinuxThumbnailsTest, ThoseOfOtherProgramsAreUsedLargerOnesToo)
{
    keepOne("x-large", uri(), QStringLiteral("1700000000"), {512, 200});
    const auto found = find(200);
    ASSERT_TRUE(found && *found);
    EXPECT_EQ((*found)->width, 512);
    EXPECT_EQ((*found)->baseAddress[2], std::byte{1});
    keepOne("normal", uri(), QStringLiteral("1700000000"), {128, 50});
    EXPECT_EQ((*find(200))->width, 512) << "a smaller one does not do";
}

TEST_F(LinuxThumbnailsTest, OneOfAnotherDateOrFileOrThatIsDamagedIsNone)
{
    keepOne("large", uri(), QStringLiteral("1699999999"));
    EXPECT_EQ(*find(), nullptr);
    keepOne("large", QStringLiteral("file:///another.mp4"), QStringLiteral("1700000000"));
    EXPECT_EQ(*find(), nullptr);
    keepOne("large", uri(), QStringLiteral("1700000000"), {4000, 10});
    EXPECT_EQ(*find(), nullptr) << "larger than any size";
    std::ofstream{place()} << "no picture";
    EXPECT_EQ(*find(), nullptr);
    fs::remove(place());
    ASSERT_EQ(::mkfifo(place().c_str(), 0600), 0);
    EXPECT_EQ(*find(), nullptr) << "a FIFO would never end";
    fs::remove(place());
    keepOne("large", uri(), QStringLiteral("1700000000"));
    EXPECT_NE(*find(), nullptr);
    setDate(1'700'000'001);
    EXPECT_EQ(*find(), nullptr) << "the file has changed";
    ASSERT_TRUE(make());
    EXPECT_NE(*find(), nullptr) << "in place of the old one";
}

TEST_F(LinuxThumbnailsTest, OfAFileThatChangesMeanwhileNothingIsKept)
{
    reader_->during = [](const fs::path& file) { std::ofstream{file, std::ios::app} << "more"; };
    const auto made = make();
    ASSERT_TRUE(made && *made);
    EXPECT_THAT(kept(), IsEmpty());
}

TEST_F(LinuxThumbnailsTest, FailuresLeaveNothing)
{
    reader_->error = Error{"x", 1, "damaged", nullptr};
    EXPECT_FALSE(make());
    EXPECT_THAT(kept(), IsEmpty());
    reader_->error.reset();
    fs::create_directories(folder_.parent_path());
    std::ofstream{folder_} << "in the way";
    const auto made = make();
    EXPECT_TRUE(made && *made) << "what cannot be kept can be shown";
    fs::remove(file_);
    EXPECT_FALSE(make());
    EXPECT_EQ(find().error().code, ENOENT);
}

TEST_F(LinuxThumbnailsTest, TheFolderIsTheUsersCache)
{
    ::setenv("XDG_CACHE_HOME", "/somewhere", 1);
    EXPECT_EQ(thumbnailsFolder("/people/ada"), "/somewhere/thumbnails");
    ::setenv("XDG_CACHE_HOME", "relative", 1);
    EXPECT_EQ(thumbnailsFolder("/people/ada"), "/people/ada/.cache/thumbnails");
    ::unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(thumbnailsFolder("/people/ada"), "/people/ada/.cache/thumbnails");
}

}  // namespace
}  // namespace velmora::linux_backend
