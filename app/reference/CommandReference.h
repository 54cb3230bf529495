// The command line's description, written out for those who read it: man and the shells.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmora::command_line {

/// The page velmora(1) in the macros of man(7), every command in it. UTF-8.
[[nodiscard]] std::string manPage(std::string_view version);

/// Each offers the commands, their options, and for an argument what it stands for; numbers of windows come from `velmora windows`.
[[nodiscard]] std::string bashCompletion();
[[nodiscard]] std::string zshCompletion();
[[nodiscard]] std::string fishCompletion();

struct ReferenceFile {
    std::string name;
    std::string content;
};

/// All of the above under the names that man and the shells look for: velmora.1, velmora (bash), _velmora (zsh) and velmora.fish.
[[nodiscard]] std::vector<ReferenceFile> referenceFiles(std::string_view version);

}  // namespace velmora::command_line
