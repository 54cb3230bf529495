#include "engine/sharing/CopyWork.h"

#include "engine/sharing/SharedCopy.h"

#include <algorithm>
#include <utility>

namespace velmora::engine {

using platform::TranscodingReport;

CopyWork::CopyWork(mp4::File& file, const platform::TranscodingSettings& settings, ClipCodecs& codecs, const CopyTools& tools)
    : file_(file)
    , settings_(settings)
    , codecs_(codecs)
    , tools_(tools)
    , limit_(static_cast<double>(settings.limit))
{
}

Result<std::optional<TranscodingReport>> CopyWork::make()
{
    auto opened = ClipSource::open(file_);
    if (!opened)
        return fail(opened.error());
    source_.emplace(std::move(*opened));
    const auto isCopied = prepare();
    if (!isCopied)
        return fail(isCopied.error());
    if (*isCopied)
        return writeAsItIs();
    if (wantsSound()) {
        if (auto encoded = encodeTheSound(); !encoded)
            return fail(encoded.error());
    }
    if (!isCancelled_ && isLimited()) {
        if (auto estimated = estimate(); !estimated)
            return fail(estimated.error());
    }
    if (!isCancelled_) {
        if (auto encoded = encodeRounds(); !encoded)
            return fail(encoded.error());
    }
    if (isCancelled_)
        return std::nullopt;
    TranscodingReport described;
    describeBest(described);
    described.soundBitRate = sound_ ? sound_->bitRate : 0;
    return write(
        [this](mp4::File& target) { return writeBest(target, [this](double done) { return report(copyShare + (1 - copyShare) * done); }); },
        described);
}

bool CopyWork::report(double done)
{
    done_ = std::max(done_, done);
    if (!isCancelled_ && !tools_.progress(done_))
        isCancelled_ = true;
    return !isCancelled_;
}

Result<void> CopyWork::encodeTheSound()
{
    auto scratch = makeScratch();
    if (!scratch)
        return fail(scratch.error());
    auto encoded = encodeSound(*source_, codecs_, soundBitRateFor(limit_, source_->seconds(), source_->soundRate()), std::move(*scratch),
        [this](double done) { return report(done * soundShare); });
    if (!encoded)
        return fail(encoded.error());
    if (*encoded && (*encoded)->format)
        sound_ = std::move(*encoded);
    return {};
}

Result<void> CopyWork::encodeParts(int count, std::int64_t length, const EncodePart& encode)
{
    for (int i = 0; i < count; ++i) {
        const auto begin = (source_->length() - length) * (2 * i + 1) / (2 * count);
        const auto samples = source_->pictureSamples();
        samples->seek(static_cast<double>(begin) / pictureTimescale);
        if (auto encoded = encode(*samples, begin, begin + length); !encoded)
            return encoded;
        if (isCancelled_)
            return {};
        report(done_ + (soundShare + probesShare - done_) / (2 * count));
    }
    return {};
}

std::function<bool(double)> CopyWork::roundProgress()
{
    const auto before = std::max(done_, soundShare + probesShare);
    const auto share = (copyShare - before) * roundShare;
    return [this, before, share](double done) { return report(before + share * std::clamp(done, 0.0, 1.0)); };
}

CopyWork::Made CopyWork::write(const std::function<Result<bool>(mp4::File&)>& fill, TranscodingReport report)
{
    const auto target = tools_.makeTarget();
    if (!target)
        return fail(target.error());
    if (!*target)
        return std::nullopt;
    const auto filled = fill(**target);
    if (!filled)
        return fail(filled.error());
    if (!*filled)
        return std::nullopt;
    const auto size = (*target)->size();
    if (!size)
        return fail(size.error());
    if (isLimited() && *size > settings_.limit)
        return limitMissed(limit_);
    report.size = *size;
    return report;
}

CopyWork::Made CopyWork::writeAsItIs()
{
    TranscodingReport copied;
    copied.isCopy = true;
    return write(
        [this](mp4::File& target) { return copyBytes(file_, source_->fileSize(), target, [this](double done) { return report(done); }); },
        copied);
}

ClipEffort effortFor(double pixels, double some, double aLot)
{
    return pixels > aLot ? ClipEffort::little : pixels > some ? ClipEffort::some : ClipEffort::much;
}

}  // namespace velmora::engine
