#pragma once

#include <binder/Binder.h>

#include <utils/String16.h>

namespace android::kavel::host {

/**
 * The framework's binder service "kavel": what the daemon asks the framework for. Each request
 * is logged; the dumps leave a file where the real framework leaves its own. The int32 reply is
 * 0, or -1 where the file could not be written.
 */
class FrameworkService : public BBinder {
  public:
    FrameworkService();

    const String16& getInterfaceDescriptor() const override { return mDescriptor; }

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override;

  private:
    const String16 mDescriptor;
};

}  // namespace android::kavel::host
