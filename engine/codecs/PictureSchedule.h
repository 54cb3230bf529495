// Which of a clip's pictures are encoded anew, and for when.
#pragma once

#include <cstdint>
#include <vector>

namespace velmora::engine {

/// Ticks a second of encoded pictures.
inline constexpr std::int32_t pictureTimescale = 90000;

/// When there is a picture.
struct PictureTiming {
    double largestRate = 0;  ///< at most so many a second; 0: all that there are
    double constantRate = 0;  ///< exactly so many a second, repeated and left out as need be; 0: when they change

    friend bool operator==(const PictureTiming&, const PictureTiming&) = default;
};

/// Asked once for each picture of a clip, in their order. Times are ticks of pictureTimescale.
class PictureSchedule {
public:
    explicit PictureSchedule(const PictureTiming& timing);

    /// The times at which the picture that is shown from `begin` to `end` is encoded, ascending; none where it is left out. Until the
    /// next call.
    const std::vector<std::int64_t>& timesOf(std::int64_t begin, std::int64_t end);

private:
    const PictureTiming timing_;
    const double interval_;
    double due_ = 0;
    std::int64_t slot_ = 0;
    std::vector<std::int64_t> times_;
};

}  // namespace velmora::engine
