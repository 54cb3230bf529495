// Holds the process's log for one test.
#pragma once

#include "platform/fake/FakeLogSink.h"
#include "system/Log.h"

#include <memory>

namespace velmora::test {

class CapturedLog {
public:
    CapturedLog() { previous_ = Log::setSink(sink_); }
    ~CapturedLog() { Log::setSink(previous_); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    const fake::FakeLogSink* operator->() const { return sink_.get(); }

private:
    std::shared_ptr<fake::FakeLogSink> sink_ = std::make_shared<fake::FakeLogSink>();
    std::shared_ptr<platform::LogSink> previous_;
};

}  // namespace velmora::test
