#include "host/init/ServiceList.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "host/init/InitLog.h"

namespace android::kavel::host {

ServiceList::ServiceList(std::vector<RcService> specs, const ServiceListSettings& settings,
                         Service::StateListener listener)
      : mSettings(settings), mListener(std::move(listener)) {
    for (auto& spec : specs) mServices.emplace_back(std::move(spec), mSettings, mListener);
}

bool ServiceList::control(std::string_view action, const std::string& name) {
    Service* service = find(name);
    if (service == nullptr) service = addScript(name);
    if (service == nullptr) {
        initLog(ANDROID_LOG_ERROR, "cannot %s service '%s': neither an .rc file nor %s has it",
                std::string(action).c_str(), name.c_str(), mSettings.scriptDirectory.c_str());
        return false;
    }
    if (action == "start") return service->start();
    if (action == "restart") return service->restart();
    if (action == "stop") {
        service->stop();
        return true;
    }
    initLog(ANDROID_LOG_ERROR, "service '%s': unknown request '%s'", name.c_str(),
            std::string(action).c_str());
    return false;
}

void ServiceList::startClass(std::string_view name) {
    for (Service& service : mServices) {
        if (service.spec().className == name) service.start();
    }
}

void ServiceList::ended(pid_t pid, int status) {
    for (Service& service : mServices) {
        if (service.pid() == pid) service.ended(status);
    }
}

std::optional<BootTime> ServiceList::dueAt() const {
    std::optional<BootTime> earliest;
    for (const Service& service : mServices) {
        const auto due = service.dueAt();
        if (due && (!earliest || *due < *earliest)) earliest = due;
    }
    return earliest;
}

void ServiceList::tick(BootTime now) {
    for (Service& service : mServices) service.tick(now);
}

void ServiceList::shutDown() {
    for (Service& service : mServices) service.shutDown();
}

bool ServiceList::anyRunning() const {
    return std::any_of(mServices.begin(), mServices.end(),
                       [](const Service& service) { return service.pid() != 0; });
}

void ServiceList::killAll() {
    for (Service& service : mServices) service.kill();
}

Service* ServiceList::find(const std::string& name) {
    const auto found = std::find_if(mServices.begin(), mServices.end(),
                                    [&](const Service& one) { return one.spec().name == name; });
    return found == mServices.end() ? nullptr : &*found;
}

Service* ServiceList::addScript(const std::string& name) {
    if (name.empty() || name[0] == '.' || name.find('/') != std::string::npos) return nullptr;
    RcService spec;
    spec.name = name;
    spec.args = {mSettings.scriptDirectory + "/" + name};
    spec.oneshot = true;
    spec.where = spec.args[0];
    if (access(spec.args[0].c_str(), X_OK) < 0) return nullptr;
    return &mServices.emplace_back(std::move(spec), mSettings, mListener);
}

}  // namespace android::kavel::host
