#include "desk/index/HashFile.h"

#include <fmt/core.h>
#include <openssl/evp.h>

#include <array>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <vector>

namespace kaveldesk {

std::string hashFile(const std::filesystem::path& path) {
    constexpr size_t kBlock = 262'144;
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(),
                                                                     EVP_MD_CTX_free);
    bool isGood = EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1;
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) throw std::runtime_error("The file cannot be opened.");
    std::vector<char> block(kBlock);
    while (isGood && file) {
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        isGood = EVP_DigestUpdate(context.get(), block.data(),
                                  static_cast<size_t>(file.gcount())) == 1;
    }
    if (file.bad()) throw std::runtime_error("The file cannot be read.");
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned size = 0;
    isGood = isGood && EVP_DigestFinal_ex(context.get(), digest.data(), &size) == 1;
    if (!isGood) throw std::runtime_error("The hash of the file cannot be computed.");
    std::string text;
    for (unsigned i = 0; i < size; ++i) text += fmt::format("{:02x}", digest[i]);
    return text;
}

}  // namespace kaveldesk
