#include "hosts/mac/code_signature.hpp"
#include "hosts/mac/mac_ports.hpp"

#include <string>

#import <CoreFoundation/CoreFoundation.h>
#import <Security/Security.h>

namespace pivra::mac {
namespace {

// Releases a Core Foundation object when it goes out of scope.
template <typename Ref>
class Owned {
public:
    Owned() = default;
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() {
        if (ref_ != nullptr) CFRelease(ref_);
    }
    Ref* out() { return &ref_; }
    Ref get() const { return ref_; }
    void reset(Ref ref) {
        if (ref_ != nullptr) CFRelease(ref_);
        ref_ = ref;
    }

private:
    Ref ref_ = nullptr;
};

}  // namespace

std::optional<std::int32_t> checkCodeSignature(const std::filesystem::path& bundle, std::string_view requirement) {
    @autoreleasepool {
        const std::string& path = bundle.native();
        Owned<CFURLRef> url;
        url.reset(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
                                                          static_cast<CFIndex>(path.size()), true));
        if (url.get() == nullptr) return std::int32_t{errSecParam};

        Owned<SecStaticCodeRef> code;
        OSStatus status = SecStaticCodeCreateWithPath(url.get(), kSecCSDefaultFlags, code.out());
        if (status != errSecSuccess || code.get() == nullptr) return std::int32_t{status};

        Owned<CFStringRef> text;
        text.reset(CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(requirement.data()),
                                           static_cast<CFIndex>(requirement.size()), kCFStringEncodingUTF8, false));
        if (text.get() == nullptr) return std::int32_t{errSecParam};

        Owned<SecRequirementRef> compiled;
        status = SecRequirementCreateWithString(text.get(), kSecCSDefaultFlags, compiled.out());
        if (status != errSecSuccess || compiled.get() == nullptr) return std::int32_t{status};

        const SecCSFlags flags = kSecCSCheckAllArchitectures | kSecCSCheckNestedCode | kSecCSStrictValidate;
        static_assert((kSecCSCheckAllArchitectures | kSecCSCheckNestedCode | kSecCSStrictValidate) == 25);
        status = SecStaticCodeCheckValidity(code.get(), flags, compiled.get());
        if (status != errSecSuccess) return std::int32_t{status};
        return std::nullopt;
    }
}

}  // namespace pivra::mac

namespace pivra {

std::optional<std::int32_t> SecurityCodeSigning::check(const std::filesystem::path& bundle,
                                                       std::string_view requirement) const {
    return mac::checkCodeSignature(bundle, requirement);
}

}  // namespace pivra
