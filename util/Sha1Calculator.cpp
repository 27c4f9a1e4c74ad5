#include "util/Sha1Calculator.h"

#include "util/ApiErrorException.h"

namespace JY {

namespace {
constexpr SourceFile here{"Sha1Calculator"};
}

Sha1Calculator::Context::Context() {
    throwIfFalse(CryptAcquireContextW(&handle_, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT), here(),
                 "CryptAcquireContext");
}

Sha1Calculator::Hash::Hash(const Context& context) {
    throwIfFalse(CryptCreateHash(context.get(), CALG_SHA1, 0, 0, &handle_), here(), "CryptCreateHash");
}

Sha1Calculator::Sha1Calculator() : hash_(context_) {}

void Sha1Calculator::update(const void* data, std::uint32_t size) {
    if (size > 0) {
        throwIfFalse(CryptHashData(hash_.get(), static_cast<const BYTE*>(data), size, 0), here(), "CryptHashData");
    }
}

Sha1Calculator::Digest Sha1Calculator::digest() {
    Digest digest{};
    auto size = static_cast<DWORD>(digest.size());
    throwIfFalse(CryptGetHashParam(hash_.get(), HP_HASHVAL, digest.data(), &size, 0), here(), "CryptGetHashParam");
    return digest;
}

} // namespace JY
