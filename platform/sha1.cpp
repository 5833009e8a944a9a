#include "platform/sha1.h"

#include <openssl/evp.h>

#include <array>
#include <cstdio>

#include "platform/run_failure.h"

namespace corvid {

// The opaque type behind Sha1 is OpenSSL's digest context.
struct Sha1Context {
  EVP_MD_CTX* digest = nullptr;
};

void Sha1ContextDeleter::operator()(Sha1Context* context) const {
  if (context == nullptr) return;
  EVP_MD_CTX_free(context->digest);
  delete context;
}

namespace {

Sha1Context& started(Sha1& hash) {
  if (!hash.context) {
    hash.context.reset(new Sha1Context);
    hash.context->digest = EVP_MD_CTX_new();
    if (hash.context->digest == nullptr || EVP_DigestInit_ex(hash.context->digest, EVP_sha1(), nullptr) != 1) {
      throw RunFailure("SHA-1 is not available from OpenSSL");
    }
  }
  return *hash.context;
}

}  // namespace

void sha1Update(Sha1& hash, std::string_view bytes) {
  if (bytes.empty()) {
    started(hash);
    return;
  }
  if (EVP_DigestUpdate(started(hash).digest, bytes.data(), bytes.size()) != 1) {
    throw RunFailure("SHA-1 update failed");
  }
}

std::string sha1Hex(Sha1& hash) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  if (EVP_DigestFinal_ex(started(hash).digest, digest.data(), &length) != 1) throw RunFailure("SHA-1 failed");
  hash.context.reset();
  static const char* const kDigits = "0123456789abcdef";
  std::string hex;
  for (unsigned int i = 0; i < length; ++i) {
    hex += kDigits[digest[i] >> 4];
    hex += kDigits[digest[i] & 15];
  }
  return hex;
}

bool fileSha1(const std::string& path, std::string& digest) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  Sha1 hash;
  std::string buffer(1 << 20, '\0');
  std::size_t got = 0;
  while ((got = std::fread(buffer.data(), 1, buffer.size(), file)) > 0)
    sha1Update(hash, std::string_view(buffer.data(), got));
  const bool failed = std::ferror(file) != 0;
  std::fclose(file);
  digest = sha1Hex(hash);
  return !failed;
}

}  // namespace corvid
