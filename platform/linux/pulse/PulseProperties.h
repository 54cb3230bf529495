// What a PulseAudio server says of a stream's program.
#pragma once

#include "engine/sound/StreamMatcher.h"

#include <charconv>
#include <pulse/pulseaudio.h>
#include <string>

namespace velmora::linux_backend {

[[nodiscard]] inline std::string property(const pa_proplist* properties, const char* key)
{
    const char* text = pa_proplist_gets(properties, key);
    return text ? text : "";
}

[[nodiscard]] inline engine::StreamIdentity identityOf(const pa_sink_input_info& info)
{
    engine::StreamIdentity identity;
    const auto process = property(info.proplist, PA_PROP_APPLICATION_PROCESS_ID);
    std::from_chars(process.data(), process.data() + process.size(), identity.processID);
    identity.applicationName = property(info.proplist, PA_PROP_APPLICATION_NAME);
    identity.binary = property(info.proplist, PA_PROP_APPLICATION_PROCESS_BINARY);
    identity.portalApplicationID = property(info.proplist, "pipewire.access.portal.app_id");
    return identity;
}

}  // namespace velmora::linux_backend
