#include "windows/SoundDecision.h"

#include "windows/WindowSelectionService.h"

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace velmora {

namespace {

using platform::AudibleApplication;

constexpr const char* errorDomain = "Velmora.SoundDecision";
enum ErrorCode { notDecided = 1, notThere = 2, ambiguous = 3 };

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

bool isMeant(const AudibleApplication& application, const QString& wanted)
{
    const auto& [bundle, name, process] = application.application;
    return wanted.compare(text(name), Qt::CaseInsensitive) == 0 || wanted.compare(text(bundle), Qt::CaseInsensitive) == 0
        || (process > 0 && wanted == QString::number(process));
}

/// "mpv, Firefox", with process numbers where names do not tell them apart.
std::string listed(const std::vector<AudibleApplication>& applications)
{
    QStringList names;
    for (const auto& one : applications) {
        int count = 0;
        for (const auto& other : applications)
            count += other.application.applicationName == one.application.applicationName ? 1 : 0;
        const auto name = text(one.application.applicationName);
        names.append(count > 1 ? QStringLiteral("%1 (process %2)").arg(name).arg(one.application.processID) : name);
    }
    return names.join(QStringLiteral(", ")).toStdString();
}

Result<SoundDecision> decideUnasked(const SoundSuggestion& suggestion)
{
    switch (suggestion.reason) {
    case SoundSuggestion::Reason::windowsOwn:
    case SoundSuggestion::Reason::asBefore:
        return SoundDecision{suggestion.choice, {}};
    case SoundSuggestion::Reason::nothingSounds:
        return SoundDecision{
            std::nullopt, "No application is playing: the window has no sound. Start one and choose it with --sound NAME."};
    case SoundSuggestion::Reason::none:
    case SoundSuggestion::Reason::onlyPlaying:
        break;
    }
    return fail(errorDomain, notDecided,
        "The desktop does not say whose window this is. Choose whose sound goes with it, with --sound NAME or --sound none. Available: "
            + listed(suggestion.applications) + '.');
}

}  // namespace

Result<SoundDecision> decideSound(const std::optional<SoundSuggestion>& suggestion, const std::optional<std::string>& wanted)
{
    if (wanted == noSoundWord)
        return SoundDecision{platform::SoundChoice{}, {}};
    if (!suggestion) {
        if (wanted)
            return fail(errorDomain, notThere, "No sound server answers: there is no sound to choose.");
        return SoundDecision{std::nullopt, {}};
    }
    if (!wanted)
        return decideUnasked(*suggestion);
    std::vector<AudibleApplication> meant;
    for (const auto& application : suggestion->applications) {
        if (isMeant(application, text(*wanted)))
            meant.push_back(application);
    }
    if (meant.size() == 1)
        return SoundDecision{platform::SoundChoice{meant.front().application}, {}};
    if (meant.size() > 1)
        return fail(errorDomain, ambiguous,
            "Several applications are called " + *wanted + ". Give --sound the number of a process: " + listed(meant) + '.');
    if (suggestion->applications.empty())
        return fail(errorDomain, notThere, "No application called " + *wanted + " is playing, nor is any other.");
    return fail(
        errorDomain, notThere, "No application called " + *wanted + " is playing. Available: " + listed(suggestion->applications) + '.');
}

void requestWindowWithSound(WindowSelectionService& service, std::uint32_t id, std::optional<std::string> wantedSound,
    UniqueFunction<void(Result<std::optional<RequestedWindow>>)> completion)
{
    service.requestWindow(id,
        [&service, wantedSound = std::move(wantedSound), completion = std::move(completion)](
            Result<std::optional<CapturedWindowInfo>> granted) mutable {
            if (!granted)
                return completion(fail(std::move(granted.error())));
            if (!*granted)
                return completion(std::optional<RequestedWindow>{});
            const auto grantedID = (*granted)->id;
            service.suggestSound(grantedID,
                [&service, wantedSound = std::move(wantedSound), completion = std::move(completion), window = std::move(**granted)](
                    const std::optional<SoundSuggestion>& suggestion) mutable {
                    auto decided = decideSound(suggestion, wantedSound);
                    if (!decided) {
                        service.giveBackWindow(window.id);
                        return completion(fail(std::move(decided.error())));
                    }
                    if (decided->choice)
                        service.chooseSound(window.id, *decided->choice);
                    completion(std::optional{RequestedWindow{std::move(window), std::move(decided->remark)}});
                });
        });
}

}  // namespace velmora
