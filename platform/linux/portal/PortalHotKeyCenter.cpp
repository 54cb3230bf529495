#include "platform/linux/portal/PortalHotKeyCenter.h"

#include "platform/linux/portal/PortalAnswer.h"
#include "platform/linux/portal_access/PortalConnection.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QList>
#include <QPointer>
#include <QRegularExpression>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace velmora::linux_backend {

/// (sa{sv}): a shortcut and what is said about it.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

namespace {

using platform::HotKeyCenter;
using platform::HotKeyStatus;

constexpr const char* globalShortcuts = "org.freedesktop.portal.GlobalShortcuts";
constexpr int patience = 10'000;  // milliseconds, for answers that no user has to give
// Some desktops keep what was bound under this name, so it never changes. Nor does the session's, for the same reason.
constexpr const char* shortcutName = "toggle-recording";
constexpr const char* sessionToken = "velmora_shortcuts";
constexpr const char* boundShortcuts = "shortcuts";

/// The names that keys have in triggers (XDG shortcuts: those of xkbcommon), by their place on the ANSI layout.
constexpr std::pair<std::uint32_t, const char*> keyNames[] = {{0, "a"}, {1, "s"}, {2, "d"}, {3, "f"}, {4, "h"}, {5, "g"}, {6, "z"},
    {7, "x"}, {8, "c"}, {9, "v"}, {11, "b"}, {12, "q"}, {13, "w"}, {14, "e"}, {15, "r"}, {16, "y"}, {17, "t"}, {31, "o"}, {32, "u"},
    {34, "i"}, {35, "p"}, {37, "l"}, {38, "j"}, {40, "k"}, {45, "n"}, {46, "m"}};

struct Wish {
    std::uint32_t keyCode = 0;
    std::uint32_t modifiers = 0;
    platform::HotKeyID hotKeyID;

    friend bool operator==(const Wish&, const Wish&) = default;
};

/// As the desktop is asked for it; empty for a key without a name.
QString triggerOf(const Wish& wish)
{
    const auto* key =
        std::find_if(std::begin(keyNames), std::end(keyNames), [&](const auto& known) { return known.first == wish.keyCode; });
    if (key == std::end(keyNames))
        return {};
    QStringList parts;
    if ((wish.modifiers & HotKeyCenter::controlModifier) != 0)
        parts << QStringLiteral("CTRL");
    if ((wish.modifiers & HotKeyCenter::optionModifier) != 0)
        parts << QStringLiteral("ALT");
    if ((wish.modifiers & HotKeyCenter::shiftModifier) != 0)
        parts << QStringLiteral("SHIFT");
    if ((wish.modifiers & HotKeyCenter::commandModifier) != 0)
        parts << QStringLiteral("LOGO");
    parts << QLatin1String{key->second};
    return parts.join(u'+');
}

/// The keys that a desktop's description names, as people write them: GNOME 48 says "Press <Alt><Super>c", others "Alt+Super+C".
QString keysIn(const QString& description)
{
    static const QRegularExpression accelerator{QStringLiteral("((?:<\\w+>)+)(\\w+)")};
    const auto match = accelerator.match(description);
    if (!match.hasMatch())
        return description;
    auto parts = match.captured(1).mid(1).chopped(1).split(QStringLiteral("><"));
    parts.replaceInStrings(QRegularExpression{QStringLiteral("^(Control|Primary)$")}, QStringLiteral("Ctrl"));
    const auto key = match.captured(2);
    parts << key.left(1).toUpper() + key.mid(1);
    return parts.join(u'+');
}

/// What users can do themselves, in the words of their desktop.
std::string howToBind(const std::string& desktop)
{
    const auto names = QString::fromStdString(desktop).split(u':');
    const std::string advice = "Bind keys to the command 'velmora toggle' in the desktop's settings";
    if (names.contains(u"GNOME"))
        return advice + ": Keyboard, View and Customize Shortcuts, Custom Shortcuts.";
    if (names.contains(u"KDE"))
        return advice + ": Shortcuts, Add Command.";
    return advice + ".";
}

std::string desktopOf(const PortalHotKeyCenterOptions& options)
{
    const char* name = std::getenv("XDG_CURRENT_DESKTOP");
    return !options.desktop.empty() ? options.desktop : name ? name : "";
}

}  // namespace

class PortalHotKeyCenter::Implementation final : public QObject {
    Q_OBJECT

public:
    explicit Implementation(const PortalHotKeyCenterOptions& options)
        : busAddress_(options.busAddress)
        , advice_(howToBind(desktopOf(options)))
    {
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<QList<PortalShortcut>>();
    }

    ~Implementation() override
    {
        changed = nullptr;
        close();
    }

    tl::expected<HotKeyReference, HotKeyStatus> add(const Wish& wish)
    {
        if (current_) {
            explanation_.clear();
            return tl::unexpected(hot_key_status::portalRefused);
        }
        if (wish_ != wish || (status_ != HotKeyCenter::pending && status_ != 0 && std::exchange(isTold_, true) && handle_.isEmpty()))
            ask(wish);
        if (status_ != 0)
            return tl::unexpected(status_);
        current_ = ++lastReference;
        return *current_;
    }

    void remove(HotKeyReference reference)
    {
        if (current_ != reference)
            return;
        current_.reset();
        // Not at once: what is registered again straight away need not be asked for again.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!current_ && status_ == 0)
                    close();
            },
            Qt::QueuedConnection);
    }

    [[nodiscard]] const std::string& explanation() const { return explanation_; }
    [[nodiscard]] std::string keys(HotKeyReference reference) const { return current_ == reference ? keys_.toStdString() : std::string{}; }

    std::map<EventHandlerReference, EventHandler> handlers;
    std::uint64_t lastReference = 0;
    std::function<void()> changed;

private slots:
    void wasActivated(const QDBusObjectPath& session, const QString& name)
    {
        if (session.path() != handle_ || name != QLatin1String{shortcutName} || !wish_)
            return;
        // A handler may remove handlers.
        const platform::HotKeyEvent event{wish_->hotKeyID};
        const auto current = handlers;
        for (const auto& [reference, handler] : current) {
            if (handlers.contains(reference))
                handler(event);
        }
    }

    void wereChanged(const QDBusMessage& message)
    {
        const auto arguments = message.arguments();
        if (arguments.size() != 2 || arguments[0].value<QDBusObjectPath>().path() != handle_ || status_ == HotKeyCenter::pending)
            return;
        learn(arguments[1]);
    }

    void wasClosed()
    {
        handle_.clear();
        decide(hot_key_status::portalRefused, "The desktop has taken the shortcut back. " + advice_);
    }

private:
    void ask(const Wish& wish)
    {
        close();
        wish_ = wish;
        status_ = HotKeyCenter::pending;
        explanation_ = "The desktop is being asked for the shortcut.";
        conversation_ = std::make_unique<QObject>();
        portal_ = &PortalConnection::of(busAddress_);
        const auto* conversation = conversation_.get();
        if (!portal_->isConnected()) {
            // Later, because the caller is about to be told that it is pending.
            return QTimer::singleShot(0, conversation, [this] { lack(); });
        }
        listen(&QDBusConnection::connect);
        // A portal may die of a session that has the name of one that it has yet to let go of (xdg-desktop-portal 1.16 does).
        if (closing_ && !closing_->isFinished())
            connect(closing_, &QDBusPendingCallWatcher::finished, conversation, [this] { askWhatThereIs(); });
        else
            askWhatThereIs();
    }

    void askWhatThereIs()
    {
        const auto* conversation = conversation_.get();
        auto* asked = new QDBusPendingCallWatcher{portal_->call(portal::propertiesCall(globalShortcuts), patience), conversation_.get()};
        connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked, conversation] {
            if (conversation != conversation_.get())
                return;
            const QDBusPendingReply<QVariantMap> reply = *asked;
            asked->deleteLater();
            if (!reply.isValid())
                return lack();
            connect(portal_, &PortalConnection::ended, conversation_.get(), [this] { wasClosed(); });
            createSession();
        });
    }

    /// Or no longer.
    void listen(
        bool (QDBusConnection::*connectOrDisconnect)(const QString&, const QString&, const QString&, const QString&, QObject*, const char*))
    {
        const QString service = QLatin1String{portal::service};
        const QString path = QLatin1String{portal::path};
        const QString interface = QLatin1String{globalShortcuts};
        (portal_->bus().*connectOrDisconnect)(
            service, path, interface, QStringLiteral("Activated"), this, SLOT(wasActivated(QDBusObjectPath, QString)));
        (portal_->bus().*connectOrDisconnect)(
            service, path, interface, QStringLiteral("ShortcutsChanged"), this, SLOT(wereChanged(QDBusMessage)));
    }

    void createSession()
    {
        // Some desktops want to know here already what will be bound.
        const QVariantMap options{{QStringLiteral("session_handle_token"), QLatin1String{sessionToken}},
            {QStringLiteral("shortcuts"), QVariant::fromValue(wanted())}};
        request("CreateSession", {}, options, [this](const QVariantMap& results) {
            handle_ = results.value(QStringLiteral("session_handle")).toString();
            if (handle_.isEmpty())
                return decide(hot_key_status::portalRefused, "The desktop refuses the shortcut. " + advice_);
            portal_->bus().connect(
                QLatin1String{portal::service}, handle_, QLatin1String{portal::session}, QStringLiteral("Closed"), this, SLOT(wasClosed()));
            const QVariantList arguments{QVariant::fromValue(QDBusObjectPath{handle_}), QVariant::fromValue(wanted()), QString{}};
            request(
                "BindShortcuts", arguments, {}, [this](const QVariantMap& bound) { learn(bound.value(QLatin1String{boundShortcuts})); });
        });
    }

    [[nodiscard]] QList<PortalShortcut> wanted() const
    {
        QVariantMap properties{{QStringLiteral("description"), QStringLiteral("Start or stop recording")}};
        if (const auto trigger = triggerOf(*wish_); !trigger.isEmpty())
            properties.insert(QStringLiteral("preferred_trigger"), trigger);
        return {{QLatin1String{shortcutName}, properties}};
    }

    /// Goes on with the results; a cancelled or failed request ends it all.
    void request(
        const char* method, const QVariantList& arguments, const QVariantMap& options, UniqueFunction<void(const QVariantMap&)> next)
    {
        PortalRequest::send(*portal_, conversation_.get(), globalShortcuts, method, arguments, options,
            [this, conversation = conversation_.get(), next = std::move(next)](Result<PortalResponse> response) mutable {
                if (conversation != conversation_.get())
                    return;
                // GNOME 48's desktop calls it an end of another kind when it has bound the keys, and says which.
                if (response && response->code > PortalResponse::cancelled && response->results.contains(QLatin1String{boundShortcuts}))
                    return next(response->results);
                const auto answer = answerOf(std::move(response));
                if (!answer)
                    decide(hot_key_status::portalRefused, answer.error().localizedDescription + " " + advice_);
                else if (!*answer)
                    decide(hot_key_status::portalRefused, "The shortcut was not allowed. " + advice_);
                else
                    next(**answer);
            });
    }

    /// What the desktop says is bound.
    void learn(const QVariant& shortcuts)
    {
        const auto bound = qdbus_cast<QList<PortalShortcut>>(shortcuts);
        const auto ours =
            std::find_if(bound.begin(), bound.end(), [](const auto& shortcut) { return shortcut.id == QLatin1String{shortcutName}; });
        keys_ = ours == bound.end() ? QString{} : keysIn(ours->properties.value(QStringLiteral("trigger_description")).toString());
        if (keys_.isEmpty())
            decide(hot_key_status::unbound, "The desktop has bound no keys to the shortcut. " + advice_);
        else
            decide(0, {});
    }

    void lack() { decide(hot_key_status::portalMissing, "This desktop lets no program have a shortcut. " + advice_); }

    void decide(HotKeyStatus status, std::string explanation)
    {
        status_ = status;
        isTold_ = false;
        explanation_ = std::move(explanation);
        if (status != 0 && status != hot_key_status::unbound)
            endConversation();
        if (const auto observer = changed)
            observer();
    }

    void endConversation()
    {
        // Later, because it may be one of its own answers that ends it.
        if (conversation_) {
            conversation_.release()->deleteLater();
            listen(&QDBusConnection::disconnect);
        }
        if (handle_.isEmpty())
            return;
        portal_->bus().disconnect(
            QLatin1String{portal::service}, handle_, QLatin1String{portal::session}, QStringLiteral("Closed"), this, SLOT(wasClosed()));
        const auto goodbye = QDBusMessage::createMethodCall(
            QLatin1String{portal::service}, std::exchange(handle_, {}), QLatin1String{portal::session}, QStringLiteral("Close"));
        closing_ = new QDBusPendingCallWatcher{portal_->bus().asyncCall(goodbye, patience), this};
        connect(closing_, &QDBusPendingCallWatcher::finished, closing_, &QObject::deleteLater);
    }

    void close()
    {
        endConversation();
        wish_.reset();
        keys_.clear();
        status_ = HotKeyCenter::pending;
    }

    const std::string busAddress_;
    const std::string advice_;
    PortalConnection* portal_ = nullptr;  // from the first question on
    std::optional<Wish> wish_;
    HotKeyStatus status_ = HotKeyCenter::pending;
    bool isTold_ = false;
    std::string explanation_;
    QString keys_;
    QString handle_;  // of the portal's session
    std::optional<HotKeyReference> current_;
    std::unique_ptr<QObject> conversation_;  // the owner of what waits for answers
    QPointer<QDBusPendingCallWatcher> closing_;  // waits for the end of the session before
};

PortalHotKeyCenter::PortalHotKeyCenter(const PortalHotKeyCenterOptions& options)
    : implementation_(std::make_unique<Implementation>(options))
{
}

PortalHotKeyCenter::~PortalHotKeyCenter() = default;

tl::expected<PortalHotKeyCenter::EventHandlerReference, HotKeyStatus> PortalHotKeyCenter::installEventHandler(EventHandler handler)
{
    implementation_->handlers[++implementation_->lastReference] = std::move(handler);
    return implementation_->lastReference;
}

void PortalHotKeyCenter::removeEventHandler(EventHandlerReference reference)
{
    implementation_->handlers.erase(reference);
}

tl::expected<PortalHotKeyCenter::HotKeyReference, HotKeyStatus> PortalHotKeyCenter::registerEventHotKey(
    std::uint32_t keyCode, std::uint32_t modifiers, platform::HotKeyID hotKeyID)
{
    return implementation_->add({keyCode, modifiers, hotKeyID});
}

void PortalHotKeyCenter::unregisterEventHotKey(HotKeyReference reference)
{
    implementation_->remove(reference);
}

void PortalHotKeyCenter::observeDecisions(std::function<void()> changed)
{
    implementation_->changed = std::move(changed);
}

std::string PortalHotKeyCenter::explanation() const
{
    return implementation_->explanation();
}

std::string PortalHotKeyCenter::boundKeys(HotKeyReference reference) const
{
    return implementation_->keys(reference);
}

}  // namespace velmora::linux_backend

#include "PortalHotKeyCenter.moc"
