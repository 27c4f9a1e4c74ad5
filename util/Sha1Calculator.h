#pragma once

#include <windows.h>
// wincrypt.h needs the types of windows.h.
#include <wincrypt.h>

#include <array>
#include <cstdint>

namespace JY {

/// Computes the SHA-1 digest of the bytes that it is given, by the system's CryptoAPI. Every failure is an
/// ApiErrorException with the call's name. Not for use by two threads at once.
class Sha1Calculator {
public:
    using Digest = std::array<std::uint8_t, 20>;

    /// Throws "CryptAcquireContext" or "CryptCreateHash".
    Sha1Calculator();

    /// Takes `size` bytes more. Throws "CryptHashData".
    void update(const void* data, std::uint32_t size);
    /// The digest of all the bytes taken; nothing can be added afterwards. Throws "CryptGetHashParam".
    Digest digest();

private:
    /// Sole owner of a connection to the cryptographic service.
    class Context {
    public:
        Context();
        Context(const Context&) = delete;
        Context& operator=(const Context&) = delete;
        ~Context() { CryptReleaseContext(handle_, 0); }
        HCRYPTPROV get() const { return handle_; }

    private:
        HCRYPTPROV handle_ = 0;
    };

    /// Sole owner of a hash in the making.
    class Hash {
    public:
        explicit Hash(const Context& context);
        Hash(const Hash&) = delete;
        Hash& operator=(const Hash&) = delete;
        ~Hash() { CryptDestroyHash(handle_); }
        HCRYPTHASH get() const { return handle_; }

    private:
        HCRYPTHASH handle_ = 0;
    };

    Context context_;
    Hash hash_; // goes before the connection that it belongs to
};

} // namespace JY
