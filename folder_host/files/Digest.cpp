#include "folder_host/files/Digest.h"

#include <openssl/evp.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <vector>

#include "folder_host/text/Utf.h"

namespace folder_host {

namespace {

void require(int succeeded) {
  if (succeeded != 1) throw std::bad_alloc();  // nothing else can fail here
}

}  // namespace

struct Sha256::Context {
  struct Free {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };
  std::unique_ptr<EVP_MD_CTX, Free> of;
};

Sha256::Sha256() : context_(std::make_unique<Context>()) {
  context_->of.reset(EVP_MD_CTX_new());
  require(context_->of ? EVP_DigestInit_ex(context_->of.get(), EVP_sha256(), nullptr) : 0);
}

Sha256::~Sha256() = default;

void Sha256::add(std::string_view bytes) { require(EVP_DigestUpdate(context_->of.get(), bytes.data(), bytes.size())); }

std::string Sha256::finish() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  require(EVP_DigestFinal_ex(context_->of.get(), digest.data(), &size));
  return hexOf({reinterpret_cast<const char*>(digest.data()), size});
}

std::string sha256Of(const Descriptor& file, const std::function<void(std::uint64_t)>& onBytes, std::uint64_t most) {
  Sha256 digest;
  std::vector<char> buffer(std::min(most, std::uint64_t{1} << 17U));
  while (most > 0) {
    const ssize_t length = ::read(file.get(), buffer.data(), std::min<std::uint64_t>(most, buffer.size()));
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) throwErrno();
    if (length == 0) break;
    digest.add({buffer.data(), static_cast<std::size_t>(length)});
    most -= static_cast<std::uint64_t>(length);
    onBytes(static_cast<std::uint64_t>(length));
  }
  return digest.finish();
}

std::string sha256Of(std::string_view bytes) {
  Sha256 digest;
  digest.add(bytes);
  return digest.finish();
}

std::string base64Of(std::string_view bytes) {
  std::vector<unsigned char> text((bytes.size() + 2) / 3 * 4 + 1);  // and the byte 0 that it puts behind
  const int size = EVP_EncodeBlock(text.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                                   static_cast<int>(bytes.size()));
  return {text.begin(), text.begin() + size};
}

}  // namespace folder_host
