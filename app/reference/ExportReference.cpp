// Writes the man page and the shells' completion of the command line:
//
//     export_reference DIRECTORY
#include "app/reference/CommandReference.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

int main(int count, char* arguments[])
{
    if (count != 2) {
        std::fprintf(stderr, "usage: export_reference DIRECTORY\n");
        return 2;
    }
    const std::filesystem::path directory{arguments[1]};
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    for (const auto& [name, content] : velmora::command_line::referenceFiles(VELMORA_VERSION)) {
        std::ofstream file{directory / name, std::ios::binary};
        file << content;
        file.close();
        if (!file) {
            std::fprintf(stderr, "export_reference: %s cannot be written\n", (directory / name).c_str());
            return 1;
        }
    }
    return 0;
}
