// The real module, loaded as the program loads it. This executable itself links nothing of FFmpeg.

#include "platform/linux/ffmpeg/CodecLoader.h"
#include "platform/linux/modules/ModuleLoader.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace velmora::linux_backend {
namespace {

class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmora-test-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

TEST(CodecLoader, GivesEveryThreadTheSameModule)
{
    std::array<std::shared_ptr<CodecModule>, 4> modules;
    std::vector<std::thread> threads;
    for (auto& module : modules) {
        threads.emplace_back([&module] {
            if (auto loaded = codecModule())
                module = *loaded;
        });
    }
    for (auto& thread : threads)
        thread.join();
    ASSERT_TRUE(modules[0]) << codecModule().error().localizedDescription;
    for (const auto& module : modules)
        EXPECT_EQ(module, modules[0]);
}

TEST(CodecLoader, TheModuleEncodesSoundAndPictures)
{
    const auto module = codecModule();
    ASSERT_TRUE(module) << module.error().localizedDescription;

    auto audio = (*module)->makeAudioEncoder({});
    ASSERT_TRUE(audio) << audio.error().localizedDescription;
    std::vector<engine::AudioEncoder::Packet> packets;
    ASSERT_TRUE((*audio)->encode(std::vector<float>(4096, 0.1F), packets));
    ASSERT_TRUE((*audio)->flush(packets));
    EXPECT_EQ(packets.size(), 3U);

    auto pixels = std::make_shared<const std::vector<std::byte>>(64 * 64 * 4);
    auto picture = std::make_shared<PixelBuffer>();
    picture->width = picture->height = 64;
    picture->bytesPerRow = 256;
    picture->baseAddress = pixels->data();
    picture->owner = pixels;
    std::vector<SampleBufferRef> samples;
    const auto session = (*module)->makeCompressionSessions({})->makeSession(64, 64, FourCharacterCode{"avc1"},
        [&](platform::CompressionStatus, SampleBufferRef sample) { samples.push_back(std::move(sample)); });
    ASSERT_TRUE(session) << session.error();
    EXPECT_EQ((*session)->encodeFrame(picture, MediaTime{0, 1}, MediaTime{1, 60}), 0);
    EXPECT_EQ((*session)->completeFrames(), 0);
    ASSERT_EQ(samples.size(), 1U);
    ASSERT_TRUE(samples[0]);
    EXPECT_EQ(samples[0]->format->video()->width, 64);
    EXPECT_FALSE(samples[0]->attachments->front().boolean(attachment_key::notSync));

    EXPECT_TRUE((*module)->makePictureScaler()->scale(
        pixels->data(), {0, 0, 64, 64}, 256, std::vector<std::byte>(32 * 32 * 4).data(), {0, 0, 32, 32}, 128));
}

TEST(CodecLoader, WhySessionsCannotBeMadeIsSaidInWords)
{
    const auto module = codecModule();
    ASSERT_TRUE(module);
    const auto sessions = (*module)->makeCompressionSessions({});
    const auto why = [&](std::int32_t width, std::int32_t height) {
        const auto session = sessions->makeSession(width, height, FourCharacterCode{"avc1"}, [](auto, const auto&) {});
        return session ? "it can" : sessions->description(session.error());
    };
    EXPECT_EQ(why(16385, 100), "The window is larger than an encoder accepts: 16384 pixels in width or height.");
    EXPECT_EQ(why(100, 16385), why(16385, 100));
    EXPECT_EQ(why(0, 100), "The encoder cannot be started: Invalid argument.");
}

TEST(CodecLoader, ErrorsOfTheModuleComeOutAsTheyAre)
{
    const auto module = codecModule();
    ASSERT_TRUE(module);
    platform::AudioOutputSettings settings;
    settings.sampleRate = 1;
    const auto encoder = (*module)->makeAudioEncoder(settings);
    ASSERT_FALSE(encoder);
    EXPECT_EQ(encoder.error().domain, "libav");
    EXPECT_FALSE(encoder.error().localizedDescription.empty());
}

TEST(CodecLoader, AMissingModuleIsAnErrorThatSaysWhereItWasLookedFor)
{
    const TemporaryDirectory folder;
    const std::filesystem::path folders[] = {folder.path(), folder.path() / "lib"};
    const auto module = loadCodecModule(folders);
    ASSERT_FALSE(module);
    EXPECT_EQ(module.error().domain, moduleErrorDomain);
    EXPECT_THAT(module.error().localizedDescription, ::testing::HasSubstr("velmora_codecs.so was not found in " + folder.path().string()));
}

TEST(CodecLoader, AFileThatIsNoModuleIsAnErrorAndNotSkipped)
{
    const TemporaryDirectory folder;
    std::ofstream(folder.path() / "velmora_codecs.so") << "no library";
    const std::filesystem::path folders[] = {folder.path()};
    const auto module = loadCodecModule(folders);
    ASSERT_FALSE(module);
    EXPECT_THAT(module.error().localizedDescription, ::testing::HasSubstr("velmora_codecs.so"));
}

TEST(CodecLoader, LooksBesideTheProgramThenWhereAnInstallationHasItThenWhereABuildTreeHasIt)
{
    EXPECT_THAT(moduleDirectories("/usr/bin/velmora"),
        ::testing::ElementsAre(
            std::filesystem::path{"/usr/bin"}, std::filesystem::path{"/usr/lib/velmora/modules"}, std::filesystem::path{"/usr"}));
}

}  // namespace
}  // namespace velmora::linux_backend
