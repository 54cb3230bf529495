#include "engine/sound/ProcessTree.h"

#include <utility>

namespace velmora::engine {

namespace {

constexpr std::int32_t firstProcess = 1;
constexpr int deepestTree = 256;  // ends a walk through records that were torn by processes coming and going

}  // namespace

ProcessTree::ProcessTree(std::int32_t root, Exclusion excluded, Reader reader)
    : root_(root)
    , excluded_(std::move(excluded))
    , reader_(std::move(reader))
{
    if (const auto record = reader_(root_)) {
        rootLived_ = true;
        rootStartTime_ = record->startTime;
    }
}

bool ProcessTree::contains(std::int32_t processID) const
{
    if (!rootLived_ || processID <= 0)
        return false;
    auto current = processID;
    auto record = reader_(current);
    for (int depth = 0; record && depth < deepestTree; ++depth) {
        if (current == root_)
            return record->startTime == rootStartTime_;
        if (current == firstProcess || (excluded_ && excluded_(current)))
            return false;
        const auto parent = record->parent;
        const auto parentRecord = reader_(parent);
        // A parent younger than its child is a different process, given the pid of one that has ended meanwhile.
        if (!parentRecord || parentRecord->startTime > record->startTime)
            return false;
        current = parent;
        record = parentRecord;
    }
    return false;
}

std::int32_t topmostOfProgram(
    std::int32_t processID, const ProcessTree::Reader& reader, const std::function<std::string(std::int32_t)>& executable)
{
    const auto program = executable(processID);
    if (program.empty())
        return processID;
    auto topmost = processID;
    auto record = reader(topmost);
    for (int depth = 0; record && record->parent > firstProcess && depth < deepestTree; ++depth) {
        const auto parent = reader(record->parent);
        if (!parent || parent->startTime > record->startTime || executable(record->parent) != program)
            break;
        topmost = record->parent;
        record = parent;
    }
    return topmost;
}

}  // namespace velmora::engine
