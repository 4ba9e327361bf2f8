#pragma once

#include <functional>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/init/Service.h"

namespace android::kavel::host {

struct ServiceListSettings : ServiceSettings {
    /** Each program in this folder is a one-shot service with the name of its file. */
    std::string scriptDirectory = "/system/phone/services";
};

/** All services of the phone, by name. */
class ServiceList {
  public:
    ServiceList(std::vector<RcService> specs, const ServiceListSettings& settings,
                Service::StateListener listener);

    /**
     * Performs the action "start", "stop" or "restart" for a service of the .rc files or of the
     * script folder. Returns false, with a log line, if the action or the service is unknown, or
     * the service does not start.
     */
    bool control(std::string_view action, const std::string& name);
    /** Starts the services of the class. */
    void startClass(std::string_view name);

    /** Reports that a process has ended. Ignores processes that are not services. */
    void ended(pid_t pid, int status);
    /** Time of the next restart; nullopt if none is due. */
    std::optional<BootTime> dueAt() const;
    void tick(BootTime now);

    /** Sends SIGTERM to all services, and prevents further starts. */
    void shutDown();
    bool anyRunning() const;
    void killAll();

  private:
    Service* find(const std::string& name);
    Service* addScript(const std::string& name);

    const ServiceListSettings mSettings;
    const Service::StateListener mListener;
    std::list<Service> mServices;
};

}  // namespace android::kavel::host
