#include "platform/linux/desktop/FileHandler.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>

namespace velmora::linux_backend {
namespace {

class FileHandlerTest : public testing::Test {
protected:
    void write(const std::filesystem::path& file, const std::string& text) const
    {
        std::filesystem::create_directories((root.path() / file).parent_path());
        std::ofstream{root.path() / file} << text;
    }
    void install(const std::string& folder, const std::string& entry, const std::string& keys) const
    {
        write(std::filesystem::path{folder} / "applications" / entry, "[Desktop Entry]\n" + keys + "\n[Desktop Action new]\nName=New\n");
    }
    [[nodiscard]] std::string name() const { return fileHandlerName(places, "inode/directory"); }

    test::TemporaryDirectory root;
    FileHandlerPlaces places{{root.path() / "config", root.path() / "xdg"}, {root.path() / "home", root.path() / "usr"}, {"xfce"}, "de_DE"};
};

TEST_F(FileHandlerTest, TheDefaultApplicationsNameIsFoundInTheUsersLanguage)
{
    write("config/mimeapps.list",
        "[Added Associations]\ninode/directory=other.desktop;\n[Default Applications]\ninode/directory=thunar.desktop;\n");
    install("usr", "other.desktop", "Name=Other");
    install(
        "usr", "thunar.desktop", "GenericName=File Manager\nName=Thunar File Manager\nName[fr]=Fichiers\nName[de]=Thunar-Dateiverwaltung");
    EXPECT_EQ(name(), "Thunar-Dateiverwaltung");
    install("usr", "thunar.desktop", "Name=Thunar File Manager\nName[de]=Dateien\nName[de_DE]=Ordner");
    EXPECT_EQ(name(), "Ordner");
    places.language = "C";
    EXPECT_EQ(name(), "Thunar File Manager");
}

TEST_F(FileHandlerTest, ADesktopsOwnListComesBeforeTheCommonOneAndTheUsersBeforeTheSystems)
{
    for (const auto* entry : {"a", "b", "c", "d"})
        install("usr", std::string{entry} + ".desktop", std::string{"Name="} + entry);
    write("usr/applications/mimeapps.list", "[Default Applications]\ninode/directory=d.desktop\n");
    EXPECT_EQ(name(), "d");
    write("xdg/mimeapps.list", "[Default Applications]\ninode/directory=c.desktop\n");
    EXPECT_EQ(name(), "c");
    write("xdg/xfce-mimeapps.list", "[Default Applications]\ninode/directory=b.desktop\n");
    EXPECT_EQ(name(), "b");
    write("config/mimeapps.list", "[Default Applications]\r\ninode/directory = gone.desktop;a.desktop\r\n");
    EXPECT_EQ(name(), "a") << "of those that are installed";
}

TEST_F(FileHandlerTest, WithoutADefaultTheFirstThatOpensFoldersIsNamed)
{
    write("usr/applications/mimeinfo.cache", "[MIME Cache]\ninode/directory=files.desktop;other.desktop;\n");
    install("usr", "files.desktop", "Name=Files");
    EXPECT_EQ(name(), "Files");
    install("home", "files.desktop", "Name=Files\nHidden=true");
    install("usr", "other.desktop", "Name=Other");
    EXPECT_EQ(name(), "Other") << "the user has removed it";
}

TEST_F(FileHandlerTest, WhereNothingOrNonsenseIsSaidThereIsNoName)
{
    EXPECT_EQ(name(), "");
    write("config/mimeapps.list", "[Default Applications]\ninode/directory=../../evil.desktop;;=;\n");
    write("evil.desktop", "[Desktop Entry]\nName=Evil\n");
    EXPECT_EQ(name(), "");
    write("config/mimeapps.list", "[Default Applications]\ninode/directory=files.desktop\n" + std::string(200'000, '='));
    install("usr", "files.desktop", "Exec=files");
    EXPECT_EQ(name(), "") << "an entry without a name";
    std::filesystem::remove(root.path() / "usr/applications/files.desktop");
    ASSERT_EQ(::mkfifo((root.path() / "usr/applications/files.desktop").c_str(), 0600), 0);
    EXPECT_EQ(name(), "") << "nobody writes into that";
}

}  // namespace
}  // namespace velmora::linux_backend
