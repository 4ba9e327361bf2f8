#pragma once

#include <binder/Binder.h>

#include <utils/String16.h>

namespace android::kavel::host {

/**
 * The framework's binder service "kavel", which handles the daemon's requests. Each request is
 * logged; dumps are written to the folders of the real framework. The int32 reply is 0, or -1 if a
 * file could not be written.
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
