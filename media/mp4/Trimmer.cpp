#include "media/mp4/Trimmer.h"

#include <utility>

namespace velmora::mp4 {

Result<Movie> readAndPlanTrim(File& source, const TimeRange& range)
{
    auto splice = readAndPlanSplice({{&source, {}, range}});
    if (!splice)
        return fail(splice.error());
    return std::move(splice->plan.movie);
}

Result<TrimOutcome> writeTrim(File& source, Movie plan, File& target, const TrimProgress& progress, const TrimOptions& options)
{
    SplicePlan whole;
    whole.movie = std::move(plan);
    whole.isTrim = true;
    return writeSplice({&source}, whole, {}, target, progress, options);
}

Result<TrimOutcome> trim(File& source, const TimeRange& range, File& target, const TrimProgress& progress, const TrimOptions& options)
{
    auto plan = readAndPlanTrim(source, range);
    if (!plan)
        return fail(plan.error());
    return writeTrim(source, std::move(*plan), target, progress, options);
}

}  // namespace velmora::mp4
