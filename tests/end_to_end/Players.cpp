#include "tests/end_to_end/Players.h"

#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>

namespace velmora::test {

namespace {

/// In a page: shows the file at each of the times, and reports the numbers of the pictures.
std::string pageFor(const std::string& file, const std::vector<double>& times)
{
    std::ostringstream page;
    page << "<video id=v src=\"" << file << "\" muted></video><script>\nconst times = [";
    for (const auto time : times)
        page << time << ",";
    page << R"(];
const canvas = document.createElement('canvas').getContext('2d', {willReadFrequently: true});
const numbers = [];
const done = text => console.log('clip-report ' + text + ' end-of-report');
const read = () => {
    canvas.canvas.width = v.videoWidth; canvas.canvas.height = v.videoHeight;
    canvas.drawImage(v, 0, 0);
    let number = 0;
    const bar = v.videoWidth / 16;
    for (let bit = 0; bit < 12; ++bit)
        if (canvas.getImageData(bit * bar + bar / 2, v.videoHeight / 4, 1, 1).data[1] > 125) number |= 1 << bit;
    numbers.push(number);
};
const next = () => {
    if (numbers.length < times.length) v.currentTime = times[numbers.length];
    else done(numbers.join(' ') + ' ' + v.duration);
};
// On a loaded machine a seek is over some compositor frames before its picture can be drawn.
const after = (frames, work) => frames == 0 ? work() : requestAnimationFrame(() => after(frames - 1, work));
v.onerror = () => done('error ' + v.error.code + ' ' + v.error.message);
v.onloadeddata = next;
v.onseeked = () => after(6, () => { read(); next(); });
</script>)";
    return page.str();
}

}  // namespace

std::vector<int> shownByGStreamer(const std::filesystem::path& file, int width, int height)
{
    const auto raw = file.string() + ".raw";
    const auto outcome = runProgram({"gst-launch-1.0", "-q", "filesrc", "location=" + file.string(), "!", "qtdemux", "!", "h264parse", "!",
        "avdec_h264", "!", "videoconvert", "!", "video/x-raw,format=GRAY8", "!", "filesink", "location=" + raw});
    EXPECT_EQ(outcome.status, 0) << outcome.output << outcome.messages;
    std::ifstream stream{raw, std::ios::binary};
    const std::string content{std::istreambuf_iterator<char>{stream}, {}};
    std::filesystem::remove(raw);
    const auto pictureSize = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    EXPECT_EQ(content.size() % pictureSize, 0U);
    std::vector<int> numbers;
    for (std::size_t begin = 0; begin + pictureSize <= content.size(); begin += pictureSize)
        numbers.push_back(numberInPicture(reinterpret_cast<const std::uint8_t*>(content.data()) + begin, width, width, height));
    return numbers;
}

std::vector<int> shownByMpv(const std::filesystem::path& file, std::optional<int> most)
{
    const auto folder = file.string() + ".pictures";
    std::vector<std::string> command{"mpv", "--no-config", "--start=0", "--hr-seek=yes", "--untimed", "--vo=image", "--vo-image-format=jpg",
        "--vo-image-outdir=" + folder, "--ao=null", "--hwdec=no", "--msg-level=all=warn", file.string()};
    if (most)
        command.push_back("--frames=" + std::to_string(*most));
    else
        command.push_back("--no-audio");
    const auto outcome = runProgram(command);
    EXPECT_EQ(outcome.status, 0) << outcome.output << outcome.messages;
    std::vector<std::filesystem::path> pictures;
    for (const auto& entry : std::filesystem::directory_iterator{folder})
        pictures.push_back(entry.path());
    std::sort(pictures.begin(), pictures.end());
    std::vector<int> numbers;
    for (const auto& picture : pictures) {
        const auto shown = decodeFile(picture);
        EXPECT_EQ(shown.pictures.size(), 1U) << picture;
        if (!shown.pictures.empty())
            numbers.push_back(shown.pictures[0].number);
    }
    std::filesystem::remove_all(folder);
    return numbers;
}

ShownByChromium shownByChromium(const std::filesystem::path& file, const std::vector<double>& times)
{
    const auto page = file.string() + ".html";
    std::ofstream{page} << pageFor(file.filename().string(), times);
    const auto report = reportOfPage(page);
    std::istringstream fields{report};
    ShownByChromium shown{std::vector<int>(times.size()), 0};
    for (auto& number : shown.numbers)
        fields >> number;
    fields >> shown.duration;
    EXPECT_TRUE(fields) << report;
    return shown;
}

}  // namespace velmora::test
