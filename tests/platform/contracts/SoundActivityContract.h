// What every SoundActivity has to do, whichever sound server it asks. A back end's test makes a SoundingDesktop and instantiates the suite.
#pragma once

#include "base/Mutex.h"
#include "platform/SoundActivity.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

/// A desktop on which a test has processes play.
class SoundingDesktop {
public:
    virtual ~SoundingDesktop() = default;

    virtual std::shared_ptr<platform::SoundActivity> makeSoundActivity() = 0;

    /// A process of its own that plays from now on.
    virtual std::int32_t startPlayer() = 0;
    virtual void endPlayer(std::int32_t process) = 0;

    /// Returns when all that has happened has been asked about, and what was told of it has been.
    virtual void settle() = 0;
};

struct NamedSoundingDesktop {
    std::string name;
    std::function<std::unique_ptr<SoundingDesktop>()> make;
};

/// The last that was told, to be waited for.
class ToldSounds {
public:
    platform::SoundActivity::Changed take();

    /// Until exactly these processes play, each the first of its lineage, in whatever order; fails if that never comes.
    void expectPlaying(std::vector<std::int32_t> processes);

    int count();

private:
    Mutex mutex_;
    ConditionVariable changed_;
    std::optional<std::vector<std::int32_t>> last_ GUARDED_BY(mutex_);
    int count_ GUARDED_BY(mutex_) = 0;
};

class SoundActivityContract : public testing::TestWithParam<NamedSoundingDesktop> {
protected:
    const std::unique_ptr<SoundingDesktop> desktop_ = GetParam().make();
    std::shared_ptr<platform::SoundActivity> activity_ = desktop_->makeSoundActivity();
};

}  // namespace velmora::test
