#include "platform/linux/x11/X11ShareableContent.h"

#include "base/Mutex.h"
#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/Errors.h"
#include "platform/linux/x11/ProcessIds.h"
#include "platform/linux/x11/Text.h"
#include "platform/linux/x11/WindowIcon.h"
#include "platform/linux/x11/XSettings.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <utility>
#include <xcb/randr.h>
#include <xcb/res.h>

namespace velmora::linux_backend {

namespace {

using platform::RunningApplication;
using platform::ShareableContent;
using platform::ShareableDisplay;
using platform::ShareableWindow;

constexpr std::uint32_t iconicState = 3;  // ICCCM 4.1.3.1
constexpr std::uint32_t allWorkspaces = 0xffffffff;  // EWMH _NET_WM_DESKTOP
constexpr std::uint32_t longestProperty = 4096;  // in 32-bit units

constexpr std::int64_t ordinaryLayer = 0;
constexpr std::int64_t desktopLayer = -1;
constexpr std::int64_t dockLayer = 20;
constexpr std::int64_t otherLayer = 3;

enum AtomName : std::size_t {
    clientListStacking,
    clientList,
    currentDesktop,
    windowName,
    windowPid,
    windowType,
    typeNormal,
    typeDialog,
    typeUtility,
    typeDesktop,
    typeDock,
    windowState,
    stateHidden,
    stateShaded,
    desktopNames,
    windowDesktop,
    frameExtents,
    managedState,
    utf8String,
    compoundText,
    atomCount
};

constexpr std::array<std::string_view, atomCount> atomNames = {"_NET_CLIENT_LIST_STACKING", "_NET_CLIENT_LIST", "_NET_CURRENT_DESKTOP",
    "_NET_WM_NAME", "_NET_WM_PID", "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_NORMAL", "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_UTILITY", "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_SHADED", "_NET_DESKTOP_NAMES", "_NET_WM_DESKTOP", "_GTK_FRAME_EXTENTS", "WM_STATE", "UTF8_STRING", "COMPOUND_TEXT"};

using Atoms = std::array<xcb_atom_t, atomCount>;

Atoms internAtoms(const Connection& connection)
{
    std::array<xcb_intern_atom_cookie_t, atomCount> asked{};
    for (std::size_t index = 0; index < atomCount; ++index)
        asked[index] = xcb_intern_atom(connection.xcb(), 0, static_cast<std::uint16_t>(atomNames[index].size()), atomNames[index].data());
    Atoms atoms{};
    for (std::size_t index = 0; index < atomCount; ++index) {
        if (const auto reply = connection.reply(xcb_intern_atom_reply, asked[index]))
            atoms[index] = reply->atom;
    }
    return atoms;
}

xcb_get_property_cookie_t askProperty(const Connection& connection, xcb_window_t window, xcb_atom_t property)
{
    return xcb_get_property(connection.xcb(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longestProperty);
}

/// All requests about one window, sent before the first reply is waited for.
struct WindowQuestions {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t position;
    xcb_get_property_cookie_t name, legacyName, windowClass, pid, machine, type, state, managedState, desktop, frameExtents;

    WindowQuestions(const Connection& connection, const Atoms& atoms, xcb_window_t window)
        : attributes(xcb_get_window_attributes(connection.xcb(), window))
        , geometry(xcb_get_geometry(connection.xcb(), window))
        , position(xcb_translate_coordinates(connection.xcb(), window, connection.root(), 0, 0))
        , name(askProperty(connection, window, atoms[AtomName::windowName]))
        , legacyName(askProperty(connection, window, XCB_ATOM_WM_NAME))
        , windowClass(askProperty(connection, window, XCB_ATOM_WM_CLASS))
        , pid(askProperty(connection, window, atoms[AtomName::windowPid]))
        , machine(askProperty(connection, window, XCB_ATOM_WM_CLIENT_MACHINE))
        , type(askProperty(connection, window, atoms[AtomName::windowType]))
        , state(askProperty(connection, window, atoms[AtomName::windowState]))
        , managedState(askProperty(connection, window, atoms[AtomName::managedState]))
        , desktop(askProperty(connection, window, atoms[AtomName::windowDesktop]))
        , frameExtents(askProperty(connection, window, atoms[AtomName::frameExtents]))
    {
    }
};

/// What a window's properties say, before applications are looked up.
struct WindowAnswers {
    ShareableWindow window;
    std::string className;
    std::string instanceName;
    ProcessHints process;
    bool isDesktop = false;
};

std::optional<std::string> titleOf(const Atoms& atoms, const xcb_get_property_reply_t* name, const xcb_get_property_reply_t* legacyName)
{
    if (name && name->type != XCB_ATOM_NONE)
        return validUtf8(bytes8(name));
    if (!legacyName || legacyName->type == XCB_ATOM_NONE)
        return std::nullopt;
    const auto bytes = bytes8(legacyName);
    if (legacyName->type == XCB_ATOM_STRING)
        return fromLatin1(bytes);
    if (legacyName->type == atoms[AtomName::compoundText])
        return fromCompoundText(bytes);
    return validUtf8(bytes);
}

/// The first type of the list that is known counts (EWMH _NET_WM_WINDOW_TYPE).
std::int64_t layerOf(const Atoms& atoms, const std::vector<std::uint32_t>& types)
{
    for (const auto type : types) {
        if (type == atoms[typeNormal] || type == atoms[typeDialog] || type == atoms[typeUtility])
            return ordinaryLayer;
        if (type == atoms[typeDesktop])
            return desktopLayer;
        if (type == atoms[typeDock])
            return dockLayer;
    }
    return types.empty() ? ordinaryLayer : otherLayer;
}

std::optional<std::uint32_t> firstValue(const std::vector<std::uint32_t>& values)
{
    return values.empty() ? std::nullopt : std::optional{values.front()};
}

struct Workspaces {
    std::optional<std::uint32_t> current;  ///< from 0
    std::vector<std::string> names;  ///< may be fewer than there are workspaces

    [[nodiscard]] platform::DesktopWorkspace describe(std::uint32_t index) const
    {
        return {index + 1, index < names.size() ? names[index] : std::string{}};
    }
};

/// Each name is ended by a NUL (EWMH _NET_DESKTOP_NAMES); the last one may lack it.
std::vector<std::string> namesIn(std::string_view bytes)
{
    std::vector<std::string> names;
    while (!bytes.empty()) {
        const auto end = bytes.find('\0');
        names.push_back(validUtf8(bytes.substr(0, end)));
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
    return names;
}

/// None when the window has vanished since it was listed.
std::optional<WindowAnswers> takeAnswers(
    const Connection& connection, const Atoms& atoms, const Workspaces& workspaces, xcb_window_t id, const WindowQuestions& asked)
{
    const auto& currentWorkspace = workspaces.current;
    const auto property = [&](xcb_get_property_cookie_t cookie) { return connection.reply(xcb_get_property_reply, cookie); };
    // Every reply is taken, whatever the first ones say: one that is left would stay with the connection.
    const auto attributes = connection.reply(xcb_get_window_attributes_reply, asked.attributes);
    const auto geometry = connection.reply(xcb_get_geometry_reply, asked.geometry);
    const auto position = connection.reply(xcb_translate_coordinates_reply, asked.position);
    const auto name = property(asked.name);
    const auto legacyName = property(asked.legacyName);
    const auto windowClass = property(asked.windowClass);
    const auto pid = values32(property(asked.pid).get());
    const auto machine = property(asked.machine);
    const auto types = values32(property(asked.type).get());
    const auto states = values32(property(asked.state).get());
    const auto managedState = firstValue(values32(property(asked.managedState).get()));
    const auto workspace = firstValue(values32(property(asked.desktop).get()));
    const auto extents = values32(property(asked.frameExtents).get());
    if (!attributes || !geometry || !position || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
        return std::nullopt;

    WindowAnswers answers;
    answers.window.windowID = id;
    answers.window.title = titleOf(atoms, name.get(), legacyName.get());
    answers.window.frame = {double(position->dst_x), double(position->dst_y), double(geometry->width), double(geometry->height)};
    if (extents.size() == 4) {
        const Rect inside{position->dst_x + double(extents[0]), position->dst_y + double(extents[2]),
            geometry->width - double(extents[0]) - double(extents[1]), geometry->height - double(extents[2]) - double(extents[3])};
        if (inside.width > 0 && inside.height > 0)
            answers.window.frame = inside;
    }
    answers.window.windowLayer = layerOf(atoms, types);
    answers.isDesktop = answers.window.windowLayer == desktopLayer;
    const auto isIn = [&](AtomName state) { return std::find(states.begin(), states.end(), atoms[state]) != states.end(); };
    const bool isHidden = isIn(stateHidden) || managedState == iconicState;
    const bool isHere = !workspace || !currentWorkspace || *workspace == allWorkspaces || *workspace == *currentWorkspace;
    answers.window.isOnScreen = attributes->map_state == XCB_MAP_STATE_VIEWABLE && !isHidden && isHere;
    // Window managers also call windows of other workspaces iconic, and rolled up ones iconic or hidden.
    answers.window.isMinimised = !isIn(stateShaded) && (isIn(stateHidden) || (managedState == iconicState && isHere));
    if (!isHere)
        answers.window.otherWorkspace = workspaces.describe(*workspace);

    // Two strings, each ended by a NUL (ICCCM 4.1.2.5).
    const auto classBytes = bytes8(windowClass.get());
    const auto nul = classBytes.find('\0');
    answers.instanceName = validUtf8(classBytes);
    if (nul != std::string::npos)
        answers.className = validUtf8(std::string_view(classBytes).substr(nul + 1));
    if (!pid.empty() && pid.front() <= 0x7fffffff)
        answers.process.announced = static_cast<std::int32_t>(pid.front());
    const auto machineBytes = bytes8(machine.get());
    answers.process.machine = machineBytes.c_str();
    return answers;
}

/// The processes at the other end of the server's sockets, by the part of their resource identifiers that names the client.
class ConnectedProcesses {
public:
    ConnectedProcesses(const Connection& connection, const std::vector<xcb_window_t>& windows)
        : connection_(connection)
        , resourceMask_(xcb_get_setup(connection.xcb())->resource_id_mask)
    {
        if (windows.empty() || !connection.has(xcb_res_id))
            return;
        std::vector<std::uint32_t> clients;
        for (const auto window : windows)
            clients.push_back(window & ~resourceMask_);
        std::sort(clients.begin(), clients.end());
        clients.erase(std::unique(clients.begin(), clients.end()), clients.end());
        std::vector<xcb_res_client_id_spec_t> specs;
        for (const auto client : clients)
            specs.push_back({client, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
        // The version that knows process numbers must have been asked for.
        version_ = xcb_res_query_version(connection.xcb(), 1, 2);
        asked_ = xcb_res_query_client_ids(connection.xcb(), static_cast<std::uint32_t>(specs.size()), specs.data());
        isAsked_ = true;
    }

    void takeAnswers()
    {
        if (!std::exchange(isAsked_, false))
            return;
        const auto version = connection_.reply(xcb_res_query_version_reply, version_);
        const auto reply = connection_.reply(xcb_res_query_client_ids_reply, asked_);
        if (!version || !reply)
            return;
        for (auto values = xcb_res_query_client_ids_ids_iterator(reply.get()); values.rem > 0; xcb_res_client_id_value_next(&values)) {
            const auto& spec = values.data->spec;
            if ((spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 && xcb_res_client_id_value_value_length(values.data) > 0)
                processes_[spec.client & ~resourceMask_] = static_cast<std::int32_t>(*xcb_res_client_id_value_value(values.data));
        }
    }

    [[nodiscard]] std::int32_t of(xcb_window_t window) const
    {
        const auto found = processes_.find(window & ~resourceMask_);
        return found == processes_.end() ? 0 : std::max(0, found->second);
    }

private:
    const Connection& connection_;
    std::uint32_t resourceMask_;
    xcb_res_query_version_cookie_t version_{};
    xcb_res_query_client_ids_cookie_t asked_{};
    bool isAsked_ = false;
    std::map<std::uint32_t, std::int32_t> processes_;
};

/// Without EWMH: the windows below the root's children that bear WM_STATE; without any, the mapped top-level windows.
/// Topmost first.
std::vector<xcb_window_t> windowsOfTree(const Connection& connection, const Atoms& atoms)
{
    constexpr int deepestFrame = 4;
    const auto childrenOf = [&](xcb_query_tree_cookie_t cookie) {
        const auto tree = connection.reply(xcb_query_tree_reply, cookie);
        if (!tree)
            return std::vector<xcb_window_t>{};
        const auto* first = xcb_query_tree_children(tree.get());
        return std::vector<xcb_window_t>(first, first + xcb_query_tree_children_length(tree.get()));
    };
    auto topLevels = childrenOf(xcb_query_tree(connection.xcb(), connection.root()));
    std::reverse(topLevels.begin(), topLevels.end());

    // One level of all trees at a time, so that the round trips are as few as the levels. `place` keeps the stacking order.
    struct Candidate {
        std::size_t place;
        xcb_window_t window;
    };
    std::vector<Candidate> level;
    for (std::size_t place = 0; place < topLevels.size(); ++place)
        level.push_back({place, topLevels[place]});
    std::multimap<std::size_t, xcb_window_t> managed;
    for (int depth = 0; depth < deepestFrame && !level.empty(); ++depth) {
        std::vector<std::pair<xcb_get_property_cookie_t, xcb_query_tree_cookie_t>> asked;
        for (const auto& candidate : level) {
            asked.emplace_back(
                askProperty(connection, candidate.window, atoms[managedState]), xcb_query_tree(connection.xcb(), candidate.window));
        }
        std::vector<Candidate> next;
        for (std::size_t index = 0; index < level.size(); ++index) {
            const auto state = connection.reply(xcb_get_property_reply, asked[index].first);
            const auto children = childrenOf(asked[index].second);
            if (state && state->type != XCB_ATOM_NONE) {
                managed.emplace(level[index].place, level[index].window);
                continue;
            }
            for (const auto child : children)
                next.push_back({level[index].place, child});
        }
        level = std::move(next);
    }
    std::vector<xcb_window_t> windows;
    for (const auto& [place, window] : managed)
        windows.push_back(window);
    if (!windows.empty())
        return windows;

    std::vector<xcb_get_window_attributes_cookie_t> asked;
    for (const auto window : topLevels)
        asked.push_back(xcb_get_window_attributes(connection.xcb(), window));
    for (std::size_t index = 0; index < topLevels.size(); ++index) {
        const auto attributes = connection.reply(xcb_get_window_attributes_reply, asked[index]);
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE && !attributes->override_redirect)
            windows.push_back(topLevels[index]);
    }
    return windows;
}

/// The monitors, the primary one first; the whole root where the server knows none.
std::vector<ShareableDisplay> displaysOf(const Connection& connection)
{
    std::vector<ShareableDisplay> displays;
    if (connection.has(xcb_randr_id)) {
        const auto askedVersion = xcb_randr_query_version(connection.xcb(), 1, 5);
        const auto askedMonitors = xcb_randr_get_monitors(connection.xcb(), connection.root(), 1);
        const auto version = connection.reply(xcb_randr_query_version_reply, askedVersion);
        const auto monitors = connection.reply(xcb_randr_get_monitors_reply, askedMonitors);
        if (version && monitors) {
            for (auto monitor = xcb_randr_get_monitors_monitors_iterator(monitors.get()); monitor.rem > 0;
                 xcb_randr_monitor_info_next(&monitor)) {
                // The output keeps its identifier while the server runs; a monitor without one has its name.
                const bool hasOutput = xcb_randr_monitor_info_outputs_length(monitor.data) > 0;
                const ShareableDisplay display{hasOutput ? *xcb_randr_monitor_info_outputs(monitor.data) : monitor.data->name,
                    {double(monitor.data->x), double(monitor.data->y), double(monitor.data->width), double(monitor.data->height)}};
                displays.insert(monitor.data->primary ? displays.begin() : displays.end(), display);
            }
        }
    }
    if (displays.empty()) {
        const auto& screen = connection.screen();
        displays.push_back({screen.root, {0, 0, double(screen.width_in_pixels), double(screen.height_in_pixels)}});
    }
    return displays;
}

/// The icons that desktop entries name, by window.
using IconNames = std::map<xcb_window_t, std::string>;

RunningApplication applicationOf(const WindowAnswers& answers, DesktopEntries& entries)
{
    RunningApplication application;
    application.processID = resolveProcessId(answers.process);
    application.bundleIdentifier = answers.className.empty() ? answers.instanceName : answers.className;
    if (application.bundleIdentifier.empty())
        application.bundleIdentifier = executableName(application.processID);
    application.applicationName =
        entries.nameFor(application.bundleIdentifier, answers.instanceName).value_or(application.bundleIdentifier);
    return application;
}

Result<ShareableContent> query(
    const std::string& displayName, DesktopEntries& entries, bool excludingDesktopWindows, bool onScreenWindowsOnly, IconNames& iconNames)
{
    auto opened = Connection::open(displayName.empty() ? nullptr : displayName.c_str());
    if (!opened)
        return fail(std::move(opened.error()));
    const auto& connection = **opened;
    xcb_prefetch_extension_data(connection.xcb(), &xcb_res_id);
    xcb_prefetch_extension_data(connection.xcb(), &xcb_randr_id);
    const auto atoms = internAtoms(connection);

    const auto askedStacking = askProperty(connection, connection.root(), atoms[clientListStacking]);
    const auto askedList = askProperty(connection, connection.root(), atoms[clientList]);
    const auto askedWorkspace = askProperty(connection, connection.root(), atoms[currentDesktop]);
    const auto askedNames = askProperty(connection, connection.root(), atoms[desktopNames]);
    const auto stacking = connection.reply(xcb_get_property_reply, askedStacking);
    const auto list = connection.reply(xcb_get_property_reply, askedList);
    const Workspaces workspaces{
        .current = firstValue(values32(connection.reply(xcb_get_property_reply, askedWorkspace).get())),
        .names = namesIn(bytes8(connection.reply(xcb_get_property_reply, askedNames).get())),
    };

    std::vector<xcb_window_t> windows;
    if (stacking && stacking->type == XCB_ATOM_WINDOW) {
        // Bottom to top (EWMH); the plain list has the oldest first, for which the best guess is to reverse it too.
        windows = values32(stacking.get());
        std::reverse(windows.begin(), windows.end());
    } else if (list && list->type == XCB_ATOM_WINDOW) {
        windows = values32(list.get());
        std::reverse(windows.begin(), windows.end());
    } else {
        windows = windowsOfTree(connection, atoms);
    }

    ConnectedProcesses processes{connection, windows};
    std::vector<WindowQuestions> asked;
    asked.reserve(windows.size());
    for (const auto window : windows)
        asked.emplace_back(connection, atoms, window);
    processes.takeAnswers();

    ShareableContent content;
    entries.refresh();
    for (std::size_t index = 0; index < windows.size(); ++index) {
        auto answers = takeAnswers(connection, atoms, workspaces, windows[index], asked[index]);
        if (!answers || (excludingDesktopWindows && answers->isDesktop) || (onScreenWindowsOnly && !answers->window.isOnScreen))
            continue;
        answers->process.connected = processes.of(windows[index]);
        const auto application = applicationOf(*answers, entries);
        answers->window.owningApplication = application;
        if (auto icon = entries.iconFor(application.bundleIdentifier, answers->instanceName); !icon.empty())
            iconNames[windows[index]] = std::move(icon);
        if (std::find(content.applications.begin(), content.applications.end(), application) == content.applications.end())
            content.applications.push_back(application);
        content.windows.push_back(std::move(answers->window));
    }
    content.displays = displaysOf(connection);
    if (connection.isBroken())
        return failX11(X11ErrorCode::connectionLost, "The connection to the X display was lost.");
    return content;
}

}  // namespace

struct X11ShareableContent::State {
    const std::string displayName;
    DesktopEntries entries;  ///< the lists' queue's
    const ThemedIcon themedIcon;

    Mutex mutex;
    IconNames iconNames GUARDED_BY(mutex);  ///< of the last list of all windows

    State(std::string display, DesktopEntries installed, ThemedIcon themed)
        : displayName(std::move(display))
        , entries(std::move(installed))
        , themedIcon(std::move(themed))
    {
    }

    void findIcons(const std::vector<std::uint32_t>& windows, int side, Found& found)
    {
        const auto opened = Connection::open(displayName.empty() ? nullptr : displayName.c_str());
        if (!opened)
            return;
        const auto& connection = **opened;
        const auto theme = themedIcon ? readSetting(connection, "Net/IconThemeName").value_or(std::string{}) : std::string{};
        for (const auto window : windows) {
            std::optional<platform::ApplicationIcon> icon;
            if (const auto name = iconName(window); themedIcon && !name.empty())
                icon = themedIcon(name, theme, side);
            if (!icon)
                icon = readWindowIcon(connection, window, side);
            if (icon && !found(window, std::move(*icon)))
                return;
        }
    }

    std::string iconName(xcb_window_t window)
    {
        const MutexLock lock{mutex};
        const auto name = iconNames.find(window);
        return name == iconNames.end() ? std::string{} : name->second;
    }
};

X11ShareableContent::X11ShareableContent(
    std::string displayName, DesktopEntries entries, ThemedIcon themedIcon, std::shared_ptr<platform::SoundActivity> soundActivity)
    : soundActivity_(std::move(soundActivity))
    , state_(std::make_shared<State>(std::move(displayName), std::move(entries), std::move(themedIcon)))
    , queue_("com.velmora.x11.windowList")
    , iconQueue_("com.velmora.x11.windowIcons", SerialQueue::QualityOfService::utility)
{
}

void X11ShareableContent::getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion)
{
    queue_.async([state = state_, excludingDesktopWindows, onScreenWindowsOnly, completion = std::move(completion)]() mutable {
        IconNames iconNames;
        auto content = query(state->displayName, state->entries, excludingDesktopWindows, onScreenWindowsOnly, iconNames);
        if (!onScreenWindowsOnly) {
            const MutexLock lock{state->mutex};
            state->iconNames = std::move(iconNames);
        }
        completion(std::move(content));
    });
}

void X11ShareableContent::findIcons(std::vector<std::uint32_t> windowIDs, int side, Found found)
{
    iconQueue_.async([state = state_, windowIDs = std::move(windowIDs), side, found = std::move(found)]() mutable {
        state->findIcons(windowIDs, side, found);
    });
}

}  // namespace velmora::linux_backend
