// Which of many clips are selected, as lists of files do it everywhere.
#pragma once

#include "library/ClipFolder.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace velmora {

/// By their files, so that it survives that the list changes around it. There is a current clip besides, which the keyboard is at, and one
/// from which ranges are counted.
class ClipSelection {
public:
    using List = std::vector<FolderClipRef>;

    /// What is beyond the list is no longer selected. The current clip's successor takes its place where it is gone, else the one before it.
    void follow(const List& list);

    /// The file has another name.
    void rename(const std::filesystem::path& from, const std::filesystem::path& to);

    /// This one alone, which becomes the current one.
    void select(const List& list, std::size_t number);
    void toggle(const List& list, std::size_t number);

    /// From where the last range began to this one; `adds` to what is selected, or in place of it.
    void extendTo(const List& list, std::size_t number, bool adds);

    /// The keyboard goes there; nothing is selected by that.
    void moveTo(const List& list, std::size_t number);
    void selectAll(const List& list);

    /// These, the first of which becomes the current one.
    void selectFiles(const List& list, const std::vector<std::filesystem::path>& files);
    void clear();

    [[nodiscard]] bool contains(const FolderClip& clip) const { return selected_.contains(clip.file.native()); }
    [[nodiscard]] std::size_t count() const { return selected_.size(); }

    /// In the order of the list.
    [[nodiscard]] List in(const List& list) const;
    [[nodiscard]] std::optional<std::size_t> current() const { return current_; }

private:
    void setCurrent(const List& list, std::size_t number);

    std::unordered_set<std::string> selected_;
    std::optional<std::size_t> current_;
    std::string currentFile_;
    std::string anchorFile_;
};

}  // namespace velmora
