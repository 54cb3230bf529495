// What every SoundActivity has to do, told of this system's on real sound servers.
#include "platform/linux/sound/PlayingProcesses.h"
#include "tests/platform/contracts/SoundActivityContract.h"
#include "tests/support/sound/ChildProcess.h"
#include "tests/support/sound/SoundServer.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

template <typename Server>
class ServedSounds final : public SoundingDesktop {
public:
    ServedSounds() { writeTone(tone_, 440, 120); }

    std::shared_ptr<platform::SoundActivity> makeSoundActivity() override { return linux_backend::makeSoundActivity(); }

    std::int32_t startPlayer() override
    {
        auto player = std::make_unique<ChildProcess>(std::vector<std::string>{"paplay", tone_});
        const auto process = player->processID();
        players_[process] = std::move(player);
        return process;
    }

    void endPlayer(std::int32_t process) override { players_.erase(process); }

    /// When a client that comes afterwards has been told of all of them, so have those that came before.
    void settle() override
    {
        std::vector<std::int32_t> playing;
        for (const auto& player : players_)
            playing.push_back(player.first);
        ToldSounds told;
        const auto activity = makeSoundActivity();
        const auto observation = activity->observe(told.take());
        told.expectPlaying(playing);
    }

private:
    const PrivateSession session_;
    const Server server_{session_};
    const std::string tone_ = (session_.directory() / "tone.wav").string();
    std::map<std::int32_t, std::unique_ptr<ChildProcess>> players_;
};

INSTANTIATE_TEST_SUITE_P(Linux, SoundActivityContract,
    testing::Values(NamedSoundingDesktop{"OnPipeWire", [] { return std::make_unique<ServedSounds<PipeWireServer>>(); }},
        NamedSoundingDesktop{"OnARealPulseAudioServer", [] { return std::make_unique<ServedSounds<PulseServer>>(); }}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
