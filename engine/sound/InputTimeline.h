// Where the blocks of one source of sound belong in time.
#pragma once

#include <cstdint>
#include <optional>

namespace velmora::engine {

/// Where a block goes.
struct BlockPlacement {
    std::int64_t position = 0;  ///< the frame at which it begins
    std::int32_t skipped = 0;  ///< frames to leave out at its beginning; all of them at most
    /// Frames by which the rest is to be stretched (+1), shrunk (-1) or left (0): the clocks of source and output run apart.
    std::int32_t stretch = 0;
};

/// Counts the frames of a source and views its time stamps with suspicion.
///
/// A stamp is right on average, not every time: a block that is processed late carries the stamp of the next one, which then carries the
/// same again. Counted frames never jitter; so a stamp moves the count only when two blocks in succession agree on the error.
/// Then a positive error is a loss (a gap stays open), a negative one an overlap, as when a stream moves to another device (the
/// beginning is left out). Errors below the tolerance are the drift of two clocks, followed by one frame a block.
class InputTimeline {
public:
    /// `tolerance` in frames: below it a stamp counts as right.
    explicit InputTimeline(std::int32_t tolerance);

    /// Places a block of `frames` whose stamp says that it begins at frame `stamp`.
    BlockPlacement place(std::int64_t stamp, std::int32_t frames);

    /// The source has been silent for long: the next stamp is believed at once.
    void restart();

    /// The frame after the last one placed; none before the first block.
    [[nodiscard]] std::optional<std::int64_t> end() const { return next_; }

private:
    [[nodiscard]] std::int32_t drift(std::int64_t error);

    std::int32_t tolerance_;
    std::optional<std::int64_t> next_;
    std::optional<std::int64_t> suspectedError_;
    std::int64_t overlap_ = 0;  ///< frames still to be left out
    double averageError_ = 0;
};

}  // namespace velmora::engine
