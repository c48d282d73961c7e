#pragma once

/// As the vendor documents them: trust settings, and what they use of Core Foundation.
extern "C" {
typedef const void* CFTypeRef;
typedef long CFIndex;
typedef unsigned char Boolean, UInt8;
typedef int OSStatus;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFArray* CFArrayRef;
typedef const struct __CFData* CFDataRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFNumber* CFNumberRef;
typedef enum CFNumberType : CFIndex { kCFNumberIntType = 9 } CFNumberType;
void CFRelease(CFTypeRef cf);
Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);
CFIndex CFArrayGetCount(CFArrayRef theArray);
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx);
const UInt8* CFDataGetBytePtr(CFDataRef theData);
CFIndex CFDataGetLength(CFDataRef theData);
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr);

typedef struct OpaqueSecCertificateRef* SecCertificateRef;
typedef struct OpaqueSecPolicyRef* SecPolicyRef;
typedef enum SecTrustSettingsDomain : unsigned {
    kSecTrustSettingsDomainUser,
    kSecTrustSettingsDomainAdmin,
    kSecTrustSettingsDomainSystem
} SecTrustSettingsDomain;
enum { errSecSuccess = 0 };
enum { kSecTrustSettingsResultTrustRoot = 1, kSecTrustSettingsResultTrustAsRoot = 2 };
#define kSecTrustSettingsPolicy reinterpret_cast<CFStringRef>("kSecTrustSettingsPolicy")
#define kSecTrustSettingsResult reinterpret_cast<CFStringRef>("kSecTrustSettingsResult")
extern const CFStringRef kSecPolicyOid, kSecPolicyAppleSSL;
CFDictionaryRef SecPolicyCopyProperties(SecPolicyRef policyRef);
CFDataRef SecCertificateCopyData(SecCertificateRef certificate);
OSStatus SecTrustSettingsCopyCertificates(SecTrustSettingsDomain domain, CFArrayRef* certArray);
OSStatus SecTrustSettingsCopyTrustSettings(SecCertificateRef certRef, SecTrustSettingsDomain domain,
                                           CFArrayRef* trustSettings);
}
