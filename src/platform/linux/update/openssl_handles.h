#pragma once

#include <memory>
#include <string_view>

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace korvel::platform {

/// Frees what the cryptographic library made, with the function that goes with it.
template <auto Function>
struct FreeWith {
    template <typename T>
    void operator()(T* thing) const {
        Function(thing);
    }
};

inline void freeCertificates(STACK_OF(X509) * certificates) {
    sk_X509_pop_free(certificates, X509_free);
}

using BioHandle = std::unique_ptr<BIO, FreeWith<BIO_free>>;
using CmsHandle = std::unique_ptr<CMS_ContentInfo, FreeWith<CMS_ContentInfo_free>>;
using X509Handle = std::unique_ptr<X509, FreeWith<X509_free>>;
using X509StoreHandle = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;
using X509ContextHandle = std::unique_ptr<X509_STORE_CTX, FreeWith<X509_STORE_CTX_free>>;
using X509ListHandle = std::unique_ptr<STACK_OF(X509), FreeWith<freeCertificates>>;

/// A source of the bytes, which are not copied.
inline BioHandle bioOf(std::string_view bytes) {
    return BioHandle(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

/// Takes the errors that are made while it lives off this thread's list again: whoever looks at the
/// list next, TLS among them, would take them for its own.
class KeepErrors {
  public:
    KeepErrors() { ERR_set_mark(); }
    KeepErrors(const KeepErrors&) = delete;
    KeepErrors& operator=(const KeepErrors&) = delete;
    ~KeepErrors() { ERR_pop_to_mark(); }
};

} // namespace korvel::platform
