// The owners of what libmpv hands out.
#pragma once

#include "base/Result.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mpv/client.h>
#include <mpv/render.h>
#include <optional>
#include <string>

namespace velmora::linux_backend {

/// A core that plays files, and the context that draws its pictures. Used on one thread.
class MpvHandle {
public:
    /// `wakeUp`: there are events; `pictureChanged`: there is another picture. Both are called on threads of libmpv's, and must not call it.
    static Result<std::unique_ptr<MpvHandle>> create(std::function<void()> wakeUp, std::function<void()> pictureChanged);

    ~MpvHandle();
    MpvHandle(const MpvHandle&) = delete;
    MpvHandle& operator=(const MpvHandle&) = delete;

    [[nodiscard]] mpv_handle* core() const { return core_; }
    [[nodiscard]] mpv_render_context* renderer() const { return renderer_; }

    /// These four are carried out later, in the order given. How a command went comes as a reply with its number.
    void command(std::initializer_list<const char*> arguments, std::uint64_t number = 0);
    void setText(const char* property, const std::string& value);
    void setFlag(const char* property, bool value);
    void setNumber(const char* property, double value);
    [[nodiscard]] bool flag(const char* property) const;  ///< false if there is none
    [[nodiscard]] std::optional<double> number(const char* property) const;
    [[nodiscard]] bool hasNextPicture() const;  ///< one that has not been drawn

private:
    MpvHandle(std::function<void()> wakeUp, std::function<void()> pictureChanged);
    Result<void> initialize();

    const std::function<void()> wakeUp_;
    const std::function<void()> pictureChanged_;
    mpv_handle* core_ = nullptr;
    mpv_render_context* renderer_ = nullptr;
};

/// libmpv's own words for one of its codes.
Error mpvError(int code);

}  // namespace velmora::linux_backend
