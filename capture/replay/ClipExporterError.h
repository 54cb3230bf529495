// What can go wrong while an MP4 file is written, in the words that the user reads.
#pragma once

#include "base/Result.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

class ClipExporterError {
public:
    enum class Case {
        writerInitializationFailed,
        writingFailed,
        emptyBuffer,
        cannotAddVideoInput,
        cannotAddAudioInput,
        outputFileNotFound,
    };

    static constexpr std::string_view domain = "Velmora.ClipExporterError";

    static ClipExporterError writerInitializationFailed(Error underlying);
    static ClipExporterError writingFailed(std::optional<Error> underlying);
    static ClipExporterError emptyBuffer();
    static ClipExporterError cannotAddVideoInput();
    static ClipExporterError cannotAddAudioInput();
    static ClipExporterError outputFileNotFound();

    [[nodiscard]] Case errorCase() const { return case_; }

    /// The platform's error as it was received; none for the cases that carry none.
    [[nodiscard]] const std::optional<Error>& underlyingError() const { return underlying_; }

    [[nodiscard]] std::string errorDescription() const;

    /// As the error of a Result: the domain above, the case as code, and the underlying error kept.
    [[nodiscard]] Error asError() const;

    /// The clip-writing error that `error` carries; none when it is another kind of error.
    static std::optional<ClipExporterError> from(const Error& error);

    /// Two errors without payload are equal when their cases are; errors that carry a payload are equal to nothing.
    friend bool operator==(const ClipExporterError& a, const ClipExporterError& b)
    {
        return a.case_ == b.case_ && !a.carriesPayload() && !b.carriesPayload();
    }

private:
    explicit ClipExporterError(Case errorCase, std::optional<Error> underlying = std::nullopt)
        : case_(errorCase)
        , underlying_(std::move(underlying))
    {
    }

    [[nodiscard]] bool carriesPayload() const { return case_ == Case::writerInitializationFailed || case_ == Case::writingFailed; }

    Case case_;
    std::optional<Error> underlying_;
};

}  // namespace velmora
