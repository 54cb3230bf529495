#include "library/views/SmallFiles.h"

#include "library/ClipFormat.h"
#include "library/SmallFileName.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto progressInterval = 250ms;

}  // namespace

SmallFiles::SmallFiles(Services services, QObject* parent) : QObject(parent), services_(std::move(services)) { }

SmallFiles::~SmallFiles() = default;

SmallFiles::Jobs::const_iterator SmallFiles::find(const std::filesystem::path& clip) const
{
    return std::find_if(jobs_.begin(), jobs_.end(), [&](const Job& job) { return job.clip == clip; });
}

void SmallFiles::start(const std::filesystem::path& clip, std::uint64_t limit)
{
    dismiss(clip);
    jobs_.push_back({.clip = clip, .limit = limit, .status = {}, .session = nullptr});
    emit changed();
    runNext();
}

std::optional<SmallFiles::Status> SmallFiles::status(const std::filesystem::path& clip) const
{
    const auto job = find(clip);
    if (job == jobs_.end())
        return std::nullopt;
    auto status = job->status;
    if (job->session)
        status.progress = job->session->progress();
    return status;
}

bool SmallFiles::isBusyWith(const std::filesystem::path& clip) const
{
    const auto job = find(clip);
    return job != jobs_.end() && (job->status.phase == Phase::waiting || job->status.phase == Phase::running);
}

std::optional<std::filesystem::path> SmallFiles::newest() const
{
    return jobs_.empty() ? std::nullopt : std::optional{jobs_.back().clip};
}

void SmallFiles::dismiss(const std::filesystem::path& clip)
{
    const auto job = find(clip);
    if (job == jobs_.end())
        return;
    const auto session = job->session;
    jobs_.erase(job);
    emit changed();
    // Its end, which may come at once, lets the next one begin.
    if (session)
        session->cancelExport();
}

void SmallFiles::runNext()
{
    while (!running_) {
        const auto job = std::find_if(jobs_.begin(), jobs_.end(), [](const Job& one) { return one.status.phase == Phase::waiting; });
        if (job == jobs_.end())
            break;
        auto session = makeSession(*job);
        if (!session) {
            failed(*job, session.error());
            continue;
        }
        running_ = *session;
        job->session = *session;
        job->status.phase = Phase::running;
        emit changed();
        services_.runningExports->start(*session, [weak = self_.weak(), session = *session, executor = services_.mainExecutor] {
            executor->async([weak, session] {
                if (const auto self = weak.lock())
                    self->ended(session.get());
            });
        });
    }
    if (running_)
        watchProgress();
    else
        progressTimer_.reset();
}

Result<std::shared_ptr<platform::TranscodingSession>> SmallFiles::makeSession(const Job& job) const
{
    const platform::TranscodingSettings settings{.limit = job.limit};
    auto session = services_.transcoder->makeSession(job.clip, settings);
    if (!session)
        return session;
    const auto folder = small_file::folderFor(services_.clipsFolder());
    if (const auto created = services_.fileManager->createDirectory(folder); !created)
        return fail(created.error());
    auto names = small_file::namesFor(job.clip, folder, settings, services_.fileManager);
    const auto first = names();
    if (!first)
        return fail(posixError(EEXIST, folder.native()));
    (*session)->setOutputURL(*first);
    (*session)->setNextOutputURL(std::move(names));
    return session;
}

void SmallFiles::ended(const platform::TranscodingSession* session)
{
    if (running_.get() != session)
        return;
    const auto finished = std::exchange(running_, nullptr);
    const auto job = std::find_if(jobs_.begin(), jobs_.end(), [&](const Job& one) { return one.session == finished; });
    if (job != jobs_.end()) {
        job->session.reset();
        finish(*job, *finished);
    }
    emit changed();
    runNext();
}

void SmallFiles::finish(Job& job, const platform::TranscodingSession& session)
{
    if (const auto report = session.report()) {
        services_.copy(session.outputURL());
        const auto size = formattedFileSize(static_cast<std::int64_t>(report->size));
        job.status = {
            Phase::copied, 1, report->isCopy ? "It fits as it is, and is on the clipboard: " + size : "On the clipboard: " + size};
        if (!report->isCopy && services_.tell)
            services_.tell(
                "Small File Copied", session.outputURL().filename().string() + " (" + size + ") is on the clipboard.", session.outputURL());
        return;
    }
    failed(job, session.error().value_or(posixError(ECANCELED, job.clip.native())));
}

void SmallFiles::failed(Job& job, const Error& error)
{
    job.status = {Phase::failed, 0, error.localizedDescription};
    if (services_.tell)
        services_.tell("No Small File", error.localizedDescription, job.clip);
    emit changed();
}

void SmallFiles::watchProgress()
{
    progressTimer_ = services_.clock->schedule(progressInterval, [this] {
        emit changed();
        watchProgress();
    });
}

}  // namespace velmora
