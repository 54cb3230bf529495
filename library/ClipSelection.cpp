#include "library/ClipSelection.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmora {

namespace {

std::optional<std::size_t> numberOf(const ClipSelection::List& list, const std::string& file)
{
    const auto found = std::find_if(list.begin(), list.end(), [&](const FolderClipRef& clip) { return clip->file.native() == file; });
    if (found == list.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - list.begin());
}

}  // namespace

void ClipSelection::follow(const List& list)
{
    std::unordered_set<std::string> left;
    for (const auto& clip : list) {
        if (selected_.contains(clip->file.native()))
            left.insert(clip->file.native());
    }
    const bool hadSome = !selected_.empty();
    selected_ = std::move(left);
    if (!current_)
        return;
    if (list.empty())
        return clear();
    if (const auto same = numberOf(list, currentFile_)) {
        current_ = same;
        return;
    }
    setCurrent(list, std::min(*current_, list.size() - 1));
    if (hadSome && selected_.empty())
        select(list, *current_);
}

void ClipSelection::rename(const std::filesystem::path& from, const std::filesystem::path& to)
{
    if (selected_.erase(from.native()) > 0)
        selected_.insert(to.native());
    for (auto* file : {&currentFile_, &anchorFile_}) {
        if (*file == from.native())
            *file = to.native();
    }
}

void ClipSelection::setCurrent(const List& list, std::size_t number)
{
    current_ = number;
    currentFile_ = list[number]->file.native();
}

void ClipSelection::select(const List& list, std::size_t number)
{
    setCurrent(list, number);
    anchorFile_ = currentFile_;
    selected_ = {currentFile_};
}

void ClipSelection::toggle(const List& list, std::size_t number)
{
    setCurrent(list, number);
    anchorFile_ = currentFile_;
    if (selected_.erase(currentFile_) == 0)
        selected_.insert(currentFile_);
}

void ClipSelection::extendTo(const List& list, std::size_t number, bool adds)
{
    const auto anchor = numberOf(list, anchorFile_).value_or(current_.value_or(number));
    anchorFile_ = list[anchor]->file.native();
    if (!adds)
        selected_.clear();
    for (auto i = std::min(anchor, number); i <= std::max(anchor, number); ++i)
        selected_.insert(list[i]->file.native());
    setCurrent(list, number);
}

void ClipSelection::moveTo(const List& list, std::size_t number)
{
    setCurrent(list, number);
}

void ClipSelection::selectAll(const List& list)
{
    for (const auto& clip : list)
        selected_.insert(clip->file.native());
    if (!current_ && !list.empty())
        setCurrent(list, 0);
}

void ClipSelection::selectFiles(const List& list, const std::vector<std::filesystem::path>& files)
{
    std::unordered_set<std::string> wanted;
    for (const auto& file : files)
        wanted.insert(file.native());
    bool isFirst = true;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (!wanted.contains(list[i]->file.native()))
            continue;
        if (isFirst)
            select(list, i);
        else
            selected_.insert(list[i]->file.native());
        isFirst = false;
    }
}

void ClipSelection::clear()
{
    selected_.clear();
    current_.reset();
    currentFile_.clear();
    anchorFile_.clear();
}

ClipSelection::List ClipSelection::in(const List& list) const
{
    List chosen;
    std::copy_if(list.begin(), list.end(), std::back_inserter(chosen), [this](const FolderClipRef& clip) { return contains(*clip); });
    return chosen;
}

}  // namespace velmora
