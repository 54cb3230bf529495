// Owners of what libwayland-client hands out.
#pragma once

#include <fake-input-client.h>
#include <memory>
#include <wayland-client.h>
#include <xdg-shell-client.h>

namespace velmora::test {

template <auto function>
struct Calls {
    template <typename T>
    void operator()(T* object) const
    {
        function(object);
    }
};

using WaylandDisplay = std::unique_ptr<wl_display, Calls<wl_display_disconnect>>;
using WaylandRegistry = std::unique_ptr<wl_registry, Calls<wl_registry_destroy>>;
using WaylandCompositor = std::unique_ptr<wl_compositor, Calls<wl_compositor_destroy>>;
using WaylandMemory = std::unique_ptr<wl_shm, Calls<wl_shm_destroy>>;
using WaylandPool = std::unique_ptr<wl_shm_pool, Calls<wl_shm_pool_destroy>>;
using WaylandBuffer = std::unique_ptr<wl_buffer, Calls<wl_buffer_destroy>>;
using WaylandSurface = std::unique_ptr<wl_surface, Calls<wl_surface_destroy>>;
using WaylandShell = std::unique_ptr<xdg_wm_base, Calls<xdg_wm_base_destroy>>;
using WaylandShellSurface = std::unique_ptr<xdg_surface, Calls<xdg_surface_destroy>>;
using WaylandToplevel = std::unique_ptr<xdg_toplevel, Calls<xdg_toplevel_destroy>>;
using WaylandFakeInput = std::unique_ptr<org_kde_kwin_fake_input, Calls<org_kde_kwin_fake_input_destroy>>;

}  // namespace velmora::test
