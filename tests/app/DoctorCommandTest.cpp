#include "app/DoctorCommand.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora {
namespace {

using Severity = Finding::Severity;

const std::vector<Finding> findings{
    {"encoder", Severity::good, "libx264 works", {}},
    {"sound", Severity::warning, "No sound server answers", "Start PipeWire."},
    {"disk", Severity::fault, "\x1B[2JThe disk\nis full", "Make room."},
};

platform::DesktopFacts factsOf(const std::string& system)
{
    platform::DesktopFacts facts;
    facts.system = system;
    return facts;
}

TEST(DoctorCommand, WritesALineForEachFindingAndOneForItsRemedy)
{
    EXPECT_EQ(diagnosisAsText({findings[0], findings[1]}, factsOf("Debian"), "1.2.3"),
        "Velmora 1.2.3 on Debian\n"
        "good     encoder        libx264 works\n"
        "warning  sound          No sound server answers\n"
        "                        Start PipeWire.\n"
        "Nothing stands in the way of a recording.\n");
}

TEST(DoctorCommand, WhatAServiceSaysCannotCommandTheTerminalOrFakeALine)
{
    const auto text = diagnosisAsText(findings, factsOf("De\nbian"), "1.2.3");
    EXPECT_EQ(text.find('\x1B'), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 7);
    EXPECT_THAT(text, ::testing::HasSubstr("Nothing can be recorded"));
}

TEST(DoctorCommand, WritesAnObjectForPrograms)
{
    const auto object = QJsonDocument::fromJson(QByteArray::fromStdString(diagnosisAsJson(findings, factsOf("Debian"), "1.2.3"))).object();
    EXPECT_EQ(object.value("version"), "1.2.3");
    EXPECT_EQ(object.value("system"), "Debian");
    EXPECT_EQ(object.value("canRecord"), false);
    const auto array = object.value("findings").toArray();
    ASSERT_EQ(array.size(), 3);
    EXPECT_EQ(array.at(1).toObject(),
        (QJsonObject{{"topic", "sound"}, {"severity", "warning"}, {"text", "No sound server answers"}, {"remedy", "Start PipeWire."}}));
    EXPECT_EQ(array.at(2).toObject().value("severity"), "fault");
    EXPECT_EQ(array.at(0).toObject().value("severity"), "good");
}

class InventedDesktop final : public platform::DesktopInspection {
public:
    platform::DesktopFacts inspect(const Questions& asked, std::chrono::milliseconds) override
    {
        questions = asked;
        return facts;
    }

    platform::DesktopFacts facts;
    Questions questions;
};

class InventedFiles final : public platform::FileManager {
public:
    [[nodiscard]] std::vector<std::filesystem::path> moviesDirectories() const override { return {"/volume/somebody/Videos"}; }
    [[nodiscard]] std::filesystem::path homeDirectory() const override { return "/volume/somebody"; }
    bool fileExists(const std::filesystem::path&, bool*) const override { return false; }
    Result<std::vector<std::filesystem::path>> contentsOfDirectory(const std::filesystem::path&, bool) const override { return {}; }
    Result<platform::FileAttributes> attributesOfItem(const std::filesystem::path&) const override { return {}; }
    Result<void> checkWritable(const std::filesystem::path&) const override { return {}; }
    Result<void> createDirectory(const std::filesystem::path&) override { return {}; }
    Result<void> removeFile(const std::filesystem::path&) override { return {}; }
};

TEST(DoctorCommand, AsksForTheClipsFolderAndTheShortcutAndFailsWhereNothingCanBeRecorded)
{
    InventedDesktop desktop;
    const InventedFiles files;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(runDoctorCommand({.json = true}, desktop, files), command_line::failed);
    const auto printed = ::testing::internal::GetCapturedStdout();
    EXPECT_TRUE(QJsonDocument::fromJson(QByteArray::fromStdString(printed)).isObject()) << printed;
    EXPECT_EQ(desktop.questions.clipsFolder, "/volume/somebody/Videos/Velmora");
    EXPECT_EQ(desktop.questions.keyCode, 8U);
    EXPECT_EQ(desktop.questions.programService, "com.velmora.Velmora");
}

TEST(DoctorCommand, SucceedsWhereOnlyTheSoundIsMissing)
{
    InventedDesktop desktop;
    desktop.facts.encoders.tried = {{"libx264", platform::DesktopFacts::Encoder::Outcome::works, {}, true}};
    desktop.facts.display.kind = platform::DesktopFacts::DisplayKind::x11;
    desktop.facts.disk.freeBytes = 50'000'000'000;
    desktop.facts.disk.exists = true;
    const InventedFiles files;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(runDoctorCommand({}, desktop, files), command_line::succeeded);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(), ::testing::HasSubstr("warning  sound"));
}

}  // namespace
}  // namespace velmora
