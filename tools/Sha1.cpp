#include "tools/Sha1.h"

#include "tools/Failure.h"

#include <algorithm>

namespace JY::Tools {

namespace {

constexpr std::size_t largestUpdate = 1 << 30;

void checkStatus(NTSTATUS status, const char* what) {
    check(status < 0 ? HRESULT_FROM_NT(status) : S_OK, what);
}

} // namespace

Sha1::Sha1() {
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    checkStatus(BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA1_ALGORITHM, nullptr, 0),
                "BCryptOpenAlgorithmProvider");
    algorithm_.reset(algorithm);
    BCRYPT_HASH_HANDLE hash = nullptr;
    checkStatus(BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0), "BCryptCreateHash");
    hash_.reset(hash);
}

void Sha1::update(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, largestUpdate);
        // The call only reads, although it does not say so.
        auto* data = reinterpret_cast<BYTE*>(const_cast<char*>(part.data()));
        checkStatus(BCryptHashData(hash_.get(), data, static_cast<ULONG>(part.size()), 0), "BCryptHashData");
        bytes.remove_prefix(part.size());
    }
}

Sha1Digest Sha1::digest() const {
    BCRYPT_HASH_HANDLE hash = nullptr;
    checkStatus(BCryptDuplicateHash(hash_.get(), &hash, nullptr, 0, 0), "BCryptDuplicateHash");
    const std::unique_ptr<void, HashCloser> copy(hash);
    Sha1Digest digest{};
    checkStatus(BCryptFinishHash(hash, digest.data(), static_cast<ULONG>(digest.size()), 0), "BCryptFinishHash");
    return digest;
}

} // namespace JY::Tools
