#include "host/system/PropertyProtocol.h"

#include <cstring>
#include <optional>

namespace android::kavel::host {

namespace {

void appendNumber(std::string* out, size_t number) {
    const auto narrow = static_cast<uint32_t>(number);
    out->append(reinterpret_cast<const char*>(&narrow), sizeof(narrow));
}

std::optional<uint32_t> takeNumber(std::string_view* bytes) {
    uint32_t number = 0;
    if (bytes->size() < sizeof(number)) return std::nullopt;
    memcpy(&number, bytes->data(), sizeof(number));
    bytes->remove_prefix(sizeof(number));
    return number;
}

/** False while text is missing or once it is broken; the request's state says which. */
bool takeText(std::string_view* bytes, size_t limit, PropertyStatus tooLong, SetRequest* request,
              std::string* text) {
    const std::optional<uint32_t> length = takeNumber(bytes);
    if (!length) return false;
    if (*length > limit) {
        request->state = SetRequest::State::kBroken;
        request->error = tooLong;
        return false;
    }
    if (bytes->size() < *length) return false;
    text->assign(bytes->substr(0, *length));
    bytes->remove_prefix(*length);
    return true;
}

}  // namespace

std::string encodeSetRequest(std::string_view name, std::string_view value) {
    std::string bytes;
    appendNumber(&bytes, kPropertySetCommand);
    appendNumber(&bytes, name.size());
    bytes.append(name);
    appendNumber(&bytes, value.size());
    bytes.append(value);
    return bytes;
}

SetRequest decodeSetRequest(std::string_view bytes) {
    SetRequest request;
    const std::optional<uint32_t> command = takeNumber(&bytes);
    if (!command) return request;
    if (*command != kPropertySetCommand) {
        request.state = SetRequest::State::kBroken;
        request.error = PropertyStatus::kInvalidCommand;
        return request;
    }
    if (takeText(&bytes, kPropertyNameMax, PropertyStatus::kInvalidName, &request, &request.name) &&
        takeText(&bytes, kPropertyLongValueMax, PropertyStatus::kInvalidValue, &request,
                 &request.value)) {
        request.state = SetRequest::State::kComplete;
    }
    return request;
}

}  // namespace android::kavel::host
