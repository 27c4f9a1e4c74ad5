#pragma once

#include <windows.h>

#include <array>
#include <bcrypt.h>
#include <memory>
#include <string_view>

namespace JY::Tools {

/// A SHA-1 digest.
using Sha1Digest = std::array<BYTE, 20>;

/// Computes SHA-1 with the system's own means.
class Sha1 {
public:
    /// @throws Failure, as do the others
    Sha1();

    void update(std::string_view bytes);
    /// Of all bytes so far; more can follow.
    Sha1Digest digest() const;

private:
    struct AlgorithmCloser {
        void operator()(BCRYPT_ALG_HANDLE algorithm) const { BCryptCloseAlgorithmProvider(algorithm, 0); }
    };
    struct HashCloser {
        void operator()(BCRYPT_HASH_HANDLE hash) const { BCryptDestroyHash(hash); }
    };

    std::unique_ptr<void, AlgorithmCloser> algorithm_;
    std::unique_ptr<void, HashCloser> hash_;
};

} // namespace JY::Tools
