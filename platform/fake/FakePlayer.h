// Players that a test steps by hand: nothing is opened.
#pragma once

#include "platform/Player.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace velmora::fake {

/// What a test sees of a player and does to it, shared because the model under test owns the player.
struct PlayerRecord {
    struct Observer {
        MediaTime interval;
        platform::Player::TimeObserver observer;
    };

    std::filesystem::path file;
    bool isPlaying = false;
    bool isDestroyed = false;
    double volume = 1;
    bool isMuted = false;
    std::vector<MediaTime> seeks;
    std::optional<MediaTime> endTime;
    std::map<platform::Player::TimeObserverToken, Observer> observers;
    std::function<void()> pictureChanged;
    std::function<void(const Error&)> failed;
    std::optional<std::byte> picture;  ///< the value of all its bytes; none yet
    std::vector<platform::PictureTarget> drawn;

    /// The steps.
    void passTime(MediaTime time)
    {
        for (const auto& [token, one] : std::map{observers})
            one.observer(time);
    }
    void stopByItself(MediaTime time)
    {
        isPlaying = false;
        passTime(time);
    }
    void showPicture(std::byte value)
    {
        picture = value;
        if (pictureChanged)
            pictureChanged();
    }
    void fail(const Error& error) const
    {
        if (failed)
            failed(error);
    }
};

class FakePlayer final : public platform::Player {
public:
    explicit FakePlayer(std::shared_ptr<PlayerRecord> record) : record_(std::move(record)) { }
    ~FakePlayer() override
    {
        record_->isDestroyed = true;
        record_->isPlaying = false;
        record_->pictureChanged = {};
        record_->failed = {};
    }

    void play() override { record_->isPlaying = true; }
    void pause() override { record_->isPlaying = false; }
    void seek(MediaTime time) override { record_->seeks.push_back(time); }
    void setForwardPlaybackEndTime(std::optional<MediaTime> time) override { record_->endTime = time; }

    void setVolume(double volume) override { record_->volume = volume; }
    void setMuted(bool isMuted) override { record_->isMuted = isMuted; }

    TimeObserverToken addPeriodicTimeObserver(MediaTime interval, TimeObserver observer) override
    {
        record_->observers.emplace(++lastToken_, PlayerRecord::Observer{interval, std::move(observer)});
        return lastToken_;
    }
    void removeTimeObserver(TimeObserverToken token) override { record_->observers.erase(token); }

    void setPictureObserver(std::function<void()> changed) override { record_->pictureChanged = std::move(changed); }
    bool drawPicture(const platform::PictureTarget& target) override
    {
        if (!record_->picture)
            return false;
        record_->drawn.push_back(target);
        for (std::int32_t y = 0; y < target.height; ++y) {
            auto* row = target.pixels + static_cast<std::size_t>(y) * target.bytesPerRow;
            std::fill_n(row, static_cast<std::size_t>(target.width) * 4, *record_->picture);
        }
        return true;
    }
    void setFailureObserver(std::function<void(const Error&)> failed) override { record_->failed = std::move(failed); }

private:
    const std::shared_ptr<PlayerRecord> record_;
    TimeObserverToken lastToken_ = 0;
};

class FakePlayers final : public platform::PlayerFactory {
public:
    void prepare(UniqueFunction<void()> completion) override
    {
        preparations_.push_back(std::move(completion));
        if (isPrepared)
            finishPreparation();
    }

    Result<std::unique_ptr<platform::Player>> makePlayer(const std::filesystem::path& file) override
    {
        if (createError)
            return fail(*createError);
        auto record = std::make_shared<PlayerRecord>();
        record->file = file;
        players.push_back(record);
        return std::make_unique<FakePlayer>(std::move(record));
    }

    /// Everything is loaded.
    void finishPreparation()
    {
        isPrepared = true;
        for (auto& completion : std::exchange(preparations_, {}))
            completion();
    }

    bool isPrepared = true;
    std::optional<Error> createError;
    std::vector<std::shared_ptr<PlayerRecord>> players;

private:
    std::vector<UniqueFunction<void()>> preparations_;
};

}  // namespace velmora::fake
