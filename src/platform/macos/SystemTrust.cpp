#include "platform/posix/http/SystemTrust.h"

#include <Security/Security.h>
#include <array>
#include <memory>
#include <openssl/x509.h>
#include <optional>
#include <type_traits>

namespace quorvel {

namespace {

struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};
template <typename Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, Release>;

/// What a setting says of TLS; it may be for other uses alone.
std::optional<bool> isTrusted(CFDictionaryRef setting) {
    const auto policy =
        static_cast<SecPolicyRef>(const_cast<void*>(CFDictionaryGetValue(setting, kSecTrustSettingsPolicy)));
    if (policy != nullptr) {
        const Owned<CFDictionaryRef> properties(SecPolicyCopyProperties(policy));
        const auto use = CFDictionaryGetValue(properties.get(), kSecPolicyOid);
        if (use == nullptr || !CFEqual(use, kSecPolicyAppleSSL)) return std::nullopt;
    }
    const auto value = static_cast<CFNumberRef>(CFDictionaryGetValue(setting, kSecTrustSettingsResult));
    int result = kSecTrustSettingsResultTrustRoot;
    if (value != nullptr) CFNumberGetValue(value, kCFNumberIntType, &result);
    return result == kSecTrustSettingsResultTrustRoot || result == kSecTrustSettingsResultTrustAsRoot;
}

/// None where the domain says nothing of the certificate. An empty list of settings trusts it for every use.
std::optional<bool> isTrusted(SecCertificateRef certificate, SecTrustSettingsDomain domain) {
    CFArrayRef found = nullptr;
    if (SecTrustSettingsCopyTrustSettings(certificate, domain, &found) != errSecSuccess) return std::nullopt;
    const Owned<CFArrayRef> settings(found);
    std::optional<bool> verdict = CFArrayGetCount(found) == 0 ? std::optional(true) : std::nullopt;
    for (CFIndex index = 0; index < CFArrayGetCount(found) && verdict != false; ++index) {
        const auto one = isTrusted(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(found, index)));
        if (one) verdict = one;
    }
    return verdict;
}

void add(SecCertificateRef certificate, X509_STORE* store) {
    const Owned<CFDataRef> data(SecCertificateCopyData(certificate));
    const unsigned char* bytes = CFDataGetBytePtr(data.get());
    const std::unique_ptr<X509, decltype(&X509_free)> decoded(
        d2i_X509(nullptr, &bytes, CFDataGetLength(data.get())), &X509_free);
    if (decoded) X509_STORE_add_cert(store, decoded.get());
}

}  // namespace

/// The authorities of the keychain. Where several domains say something of one, the user's word goes before
/// the administrator's, and that before the system's.
void trustSystem(SSL_CTX* tls) {
    constexpr std::array domains{kSecTrustSettingsDomainUser, kSecTrustSettingsDomainAdmin,
                                 kSecTrustSettingsDomainSystem};
    for (const auto domain : domains) {
        CFArrayRef found = nullptr;
        if (SecTrustSettingsCopyCertificates(domain, &found) != errSecSuccess) continue;
        const Owned<CFArrayRef> certificates(found);
        for (CFIndex index = 0; index < CFArrayGetCount(found); ++index) {
            const auto certificate =
                static_cast<SecCertificateRef>(const_cast<void*>(CFArrayGetValueAtIndex(found, index)));
            std::optional<bool> verdict;
            for (const auto other : domains)
                if (!verdict) verdict = isTrusted(certificate, other);
            if (verdict.value_or(domain == kSecTrustSettingsDomainSystem))
                add(certificate, SSL_CTX_get_cert_store(tls));
        }
    }
}

}  // namespace quorvel
