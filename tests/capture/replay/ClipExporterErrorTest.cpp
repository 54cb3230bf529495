#include "capture/replay/ClipExporterError.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

const Error platformError{"POSIX", 28, "No space left on device", nullptr};

TEST(ClipExporterError, EveryCaseDescribesItselfToTheUser)
{
    EXPECT_EQ(ClipExporterError::writerInitializationFailed(platformError).errorDescription(),
        "Failed to initialize AVAssetWriter: No space left on device");
    EXPECT_EQ(ClipExporterError::writingFailed(platformError).errorDescription(), "Failed to export MP4 clip: No space left on device");
    EXPECT_EQ(ClipExporterError::emptyBuffer().errorDescription(), "Cannot export clip: the video buffer contains no frames.");
    EXPECT_EQ(ClipExporterError::cannotAddVideoInput().errorDescription(), "Failed to attach video input to MP4 writer.");
    EXPECT_EQ(ClipExporterError::cannotAddAudioInput().errorDescription(), "Failed to attach audio input to MP4 writer.");
    EXPECT_EQ(ClipExporterError::outputFileNotFound().errorDescription(),
        "Clip export reported success, but the output file could not be found.");
}

TEST(ClipExporterError, AWritingFailureWithoutAnUnderlyingErrorSaysUnknown)
{
    EXPECT_EQ(ClipExporterError::writingFailed(std::nullopt).errorDescription(), "Failed to export MP4 clip: Unknown writer failure");
}

TEST(ClipExporterError, CasesCompareByCaseOnlyWhereTheyCarryNoPayload)
{
    EXPECT_EQ(ClipExporterError::emptyBuffer(), ClipExporterError::emptyBuffer());
    EXPECT_NE(ClipExporterError::emptyBuffer(), ClipExporterError::outputFileNotFound());
    EXPECT_NE(ClipExporterError::writingFailed(std::nullopt), ClipExporterError::writingFailed(std::nullopt));
    EXPECT_NE(ClipExporterError::writerInitializationFailed(platformError), ClipExporterError::writerInitializationFailed(platformError));
}

TEST(ClipExporterError, ThePayloadIsThePlatformsErrorAsItWasReceived)
{
    const auto error = ClipExporterError::writingFailed(platformError).asError();
    ASSERT_TRUE(error.underlying);
    EXPECT_EQ(*error.underlying, platformError);
    EXPECT_EQ(error.underlying->code, 28);
}

TEST(ClipExporterError, SurvivesTheWayThroughAResult)
{
    const auto back = ClipExporterError::from(ClipExporterError::writingFailed(platformError).asError());
    ASSERT_TRUE(back);
    EXPECT_EQ(back->errorCase(), ClipExporterError::Case::writingFailed);
    EXPECT_EQ(back->underlyingError(), platformError);
    EXPECT_EQ(ClipExporterError::from(ClipExporterError::emptyBuffer().asError()), ClipExporterError::emptyBuffer());
    EXPECT_FALSE(ClipExporterError::from(platformError));
}

}  // namespace
}  // namespace velmora
