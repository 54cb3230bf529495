// What ScreenCaptureKit has listed, by the numbers that the program knows it by. Objective-C++ only.
#pragma once

#include "base/Mutex.h"

#import <ScreenCaptureKit/ScreenCaptureKit.h>
#include <cstdint>
#include <map>
#include <utility>

namespace velmora::mac_backend {

/// One answer.
struct ListedObjects {
    std::map<std::uint32_t, SCWindow*> windows;
    std::map<std::uint32_t, SCDisplay*> displays;
    std::map<std::int32_t, SCRunningApplication*> applications;  ///< by process: an identifier may be missing or be shared
};

/// The last two answers, because another list may be asked for between the choice of a window and its capture. Any thread.
class ShareableObjects {
public:
    void keep(ListedObjects listed)
    {
        MutexLock lock(mutex_);
        std::swap(before_, last_);
        last_ = std::move(listed);
    }

    SCWindow* window(std::uint32_t windowID) { return find(&ListedObjects::windows, windowID); }
    SCDisplay* display(std::uint32_t displayID) { return find(&ListedObjects::displays, displayID); }
    SCRunningApplication* application(std::int32_t processID) { return find(&ListedObjects::applications, processID); }

private:
    template <typename Map>
    typename Map::mapped_type find(Map ListedObjects::*map, const typename Map::key_type& key)
    {
        MutexLock lock(mutex_);
        for (const auto* answer : {&last_, &before_}) {
            if (const auto found = (answer->*map).find(key); found != (answer->*map).end())
                return found->second;
        }
        return nil;
    }

    Mutex mutex_;
    ListedObjects last_ GUARDED_BY(mutex_);
    ListedObjects before_ GUARDED_BY(mutex_);
};

}  // namespace velmora::mac_backend
