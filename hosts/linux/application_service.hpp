#pragma once
// The app's own service on the session bus. Owning the name "app.omra.pivra"
// makes a process the one running app; the object "/app/omra/pivra" with the
// interface org.freedesktop.Application is how the desktop (for an entry
// with DBusActivatable=true) and `pivra open` hand it links. The bus starts
// the app for a call when its service file is installed. Main thread only;
// calls arrive on Qt's loop.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include <QDBusConnection>

#include "core/time/time.hpp"

namespace pivra {

inline constexpr const char* kAppObjectPath = "/app/omra/pivra";
inline constexpr const char* kApplicationInterface = "org.freedesktop.Application";
// The key of Open's platform data under which `pivra open` names the app the
// links came from: its desktop-file id, or "" for an app it could not tell.
inline constexpr const char* kSourcePlatformKey = "pivra-source";
// The error of an action asked for: the app has none.
inline constexpr const char* kNoSuchActionError = "app.omra.pivra.Error.NoSuchAction";

// The links of one Open call and who sent them.
struct LinkDelivery {
    std::vector<std::string> links;
    // The source the caller named ("" for an unknown app); absent when it
    // named none, and `callerPid` is where to look.
    std::optional<std::string> source;
    pid_t callerPid = 0;  // the calling process as the bus knows it; 0 when it could not tell
};

class ApplicationService {
public:
    enum class Registration { registered, nameTaken, noBus };

    // `connection` may be disconnected: start then reports noBus.
    explicit ApplicationService(QDBusConnection connection, std::string serviceName = "app.omra.pivra");
    // Gives the name and the object up.
    ~ApplicationService();
    ApplicationService(const ApplicationService&) = delete;
    ApplicationService& operator=(const ApplicationService&) = delete;

    // Puts the object on the bus, then asks for the name without queueing
    // for it: nameTaken when another process owns it (nothing stays
    // registered then). Calls queued by the bus while this process started
    // are delivered once the loop runs.
    Registration start();

    // Activate: the app was started or opened without links.
    void setOnActivate(std::function<void()> handler) { onActivate_ = std::move(handler); }
    // Open: called before the call is answered, so that a caller that has
    // its answer knows the links were taken.
    void setOnOpen(std::function<void(const LinkDelivery&)> handler) { onOpen_ = std::move(handler); }

private:
    class Object;  // the QDBusVirtualObject that the calls reach
    friend class Object;

    QDBusConnection connection_;
    std::string serviceName_;
    std::unique_ptr<Object> object_;
    bool objectRegistered_ = false;
    bool nameOwned_ = false;
    std::function<void()> onActivate_;
    std::function<void(const LinkDelivery&)> onOpen_;
};

// How handing links to the running app went.
struct HandOver {
    enum class Kind {
        accepted,     // the app answered the call: it has the links
        unavailable,  // no session bus, or no app there and none the bus can start
        failed,       // the call went out but was not answered well: `error` says how
    };
    Kind kind;
    std::string error;
};

// Calls Open on `serviceName` with `links` and the source (a desktop-file id,
// "" for unknown) in the platform data, waiting at most `timeout` for the
// answer; the bus starts the app first when its service file is installed.
// Without a source the app finds it from this process and its parents, as
// for any caller, while this waits. Turns Qt's loop while it waits; needs a
// QCoreApplication.
HandOver handOverLinks(QDBusConnection connection, const std::vector<std::string>& links,
                       const std::optional<std::string>& source, Seconds timeout,
                       const std::string& serviceName = "app.omra.pivra");

}  // namespace pivra
