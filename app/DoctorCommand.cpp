#include "app/DoctorCommand.h"

#include "app/TerminalText.h"
#include "app/control/InstanceBus.h"
#include "library/PathUtilities.h"
#include "system/ShortcutDefinition.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace velmora {

namespace {

constexpr std::chrono::seconds inspectionPatience{15};

const char* severityName(Finding::Severity severity)
{
    switch (severity) {
    case Finding::Severity::good:
        return "good";
    case Finding::Severity::note:
        return "note";
    case Finding::Severity::warning:
        return "warning";
    case Finding::Severity::fault:
        break;
    }
    return "fault";
}

constexpr const char* nothingInTheWay = "Nothing stands in the way of a recording.";
constexpr const char* somethingInTheWay = "Nothing can be recorded until the faults above are mended.";

}  // namespace

int runDoctorCommand(const command_line::Doctor& command, platform::DesktopInspection& inspection, const platform::FileManager& fileManager)
{
    const auto& shortcut = ShortcutDefinition::defaultToggleRecording();
    auto folder = PathUtilities::defaultOutputDirectory(fileManager);
    if (!folder.has_filename())
        folder = folder.parent_path();
    const auto facts = inspection.inspect(
        {
            .keyCode = shortcut.keyCode,
            .modifiers = shortcut.modifiers,
            .clipsFolder = folder,
            .programService = instance_bus::serviceName,
            .programPath = instance_bus::objectPath,
            .programInterface = instance_bus::controlInterface,
        },
        inspectionPatience);
    const auto findings = diagnose(facts);
    const auto version = QCoreApplication::applicationVersion().toStdString();
    std::fputs((command.json ? diagnosisAsJson(findings, facts, version) : diagnosisAsText(findings, facts, version)).c_str(), stdout);
    return canRecord(findings) ? command_line::succeeded : command_line::failed;
}

std::string diagnosisAsText(const std::vector<Finding>& findings, const platform::DesktopFacts& facts, const std::string& version)
{
    QString lines = QStringLiteral("Velmora %1 on %2\n")
                        .arg(QString::fromStdString(version), withoutControlCharacters(QString::fromStdString(facts.system)));
    for (const auto& finding : findings) {
        lines += QStringLiteral("%1  %2  ")
                     .arg(QLatin1String{severityName(finding.severity)}, -7)
                     .arg(QString::fromStdString(finding.topic), -13)
            + withoutControlCharacters(QString::fromStdString(finding.text)) + QLatin1Char{'\n'};
        if (!finding.remedy.empty())
            lines += QString{24, QLatin1Char{' '}} + withoutControlCharacters(QString::fromStdString(finding.remedy)) + QLatin1Char{'\n'};
    }
    return lines.toStdString() + (canRecord(findings) ? nothingInTheWay : somethingInTheWay) + '\n';
}

std::string diagnosisAsJson(const std::vector<Finding>& findings, const platform::DesktopFacts& facts, const std::string& version)
{
    QJsonArray array;
    for (const auto& finding : findings) {
        array.append(QJsonObject{
            {QStringLiteral("topic"), QString::fromStdString(finding.topic)},
            {QStringLiteral("severity"), QLatin1String{severityName(finding.severity)}},
            {QStringLiteral("text"), QString::fromStdString(finding.text)},
            {QStringLiteral("remedy"), QString::fromStdString(finding.remedy)},
        });
    }
    const QJsonObject all{
        {QStringLiteral("version"), QString::fromStdString(version)},
        {QStringLiteral("system"), QString::fromStdString(facts.system)},
        {QStringLiteral("canRecord"), canRecord(findings)},
        {QStringLiteral("findings"), array},
    };
    return QJsonDocument{all}.toJson(QJsonDocument::Indented).toStdString();
}

}  // namespace velmora
