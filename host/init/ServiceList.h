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
    /** Each program in here is a one-shot service of its file's name. */
    std::string scriptDirectory = "/system/phone/services";
};

/** All services of the phone, by name. */
class ServiceList {
  public:
    ServiceList(std::vector<RcService> specs, const ServiceListSettings& settings,
                Service::StateListener listener);

    /**
     * Carries out "start", "stop" or "restart" for a service of the .rc files or of the script
     * folder. Returns false, with a log line, if there is no such action or service, or if it
     * does not start.
     */
    bool control(std::string_view action, const std::string& name);
    /** Starts the services of the class. */
    void startClass(std::string_view name);

    /** A process has ended, of a service or any other. */
    void ended(pid_t pid, int status);
    /** The next time at which tick() is due; nullopt if no service is due to start again. */
    std::optional<BootTime> dueAt() const;
    void tick(BootTime now);

    /** Asks all of them to end for good. */
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
