#include "hosts/mac/mac_ports.hpp"

#include <type_traits>
#include <variant>

#import <Foundation/Foundation.h>

namespace pivra {
namespace {

NSString* toNSString(std::string_view text) {
    return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

}  // namespace

struct UserDefaultsPreferences::Defaults {
    NSUserDefaults* defaults;
};

UserDefaultsPreferences::UserDefaultsPreferences() : defaults_(std::make_unique<Defaults>()) {
    // Inside the app the domain is its own standard defaults; a suite named
    // after the running app's own identifier is refused by the system.
    NSString* domain = @"app.omra.pivra";
    if ([NSBundle.mainBundle.bundleIdentifier isEqualToString:domain]) {
        defaults_->defaults = NSUserDefaults.standardUserDefaults;
    } else {
        defaults_->defaults = [[NSUserDefaults alloc] initWithSuiteName:domain];
    }
}

UserDefaultsPreferences::~UserDefaultsPreferences() = default;

std::optional<PreferenceValue> UserDefaultsPreferences::value(std::string_view key) const {
    @autoreleasepool {
        id object = [defaults_->defaults objectForKey:toNSString(key)];
        if ([object isKindOfClass:NSString.class]) {
            // Nil for a string that has no UTF-8 form (a lone surrogate written by `defaults write`).
            const char* text = [(NSString*)object UTF8String];
            if (text == nullptr) return std::nullopt;
            return std::string(text);
        }
        if ([object isKindOfClass:NSNumber.class]) {
            NSNumber* number = object;
            if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) return static_cast<bool>(number.boolValue);
            const char type = number.objCType[0];
            if (type == 'd' || type == 'f') return number.doubleValue;
            return static_cast<std::int64_t>(number.longLongValue);
        }
        if ([object isKindOfClass:NSDate.class]) return [(NSDate*)object timeIntervalSince1970];
        if ([object isKindOfClass:NSDictionary.class]) {
            // Entries whose key is not a string or whose value is not a number are not Pivra's.
            PreferenceDictionary dictionary;
            [(NSDictionary*)object enumerateKeysAndObjectsUsingBlock:^(id name, id entry, BOOL*) {
              if (![name isKindOfClass:NSString.class] || ![entry isKindOfClass:NSNumber.class]) return;
              const char* text = [(NSString*)name UTF8String];
              if (text != nullptr) dictionary.emplace(text, [(NSNumber*)entry doubleValue]);
            }];
            return dictionary;
        }
        return std::nullopt;  // data and arrays are not preferences of Pivra's
    }
}

void UserDefaultsPreferences::setValue(std::string_view key, PreferenceValue value) {
    @autoreleasepool {
        NSString* name = toNSString(key);
        NSUserDefaults* defaults = defaults_->defaults;
        std::visit(
            [&](const auto& v) {
                using T = std::decay_t<decltype(v)>;
                if constexpr (std::is_same_v<T, bool>) {
                    [defaults setBool:v forKey:name];
                } else if constexpr (std::is_same_v<T, std::int64_t>) {
                    [defaults setObject:@(static_cast<long long>(v)) forKey:name];
                } else if constexpr (std::is_same_v<T, double>) {
                    [defaults setDouble:v forKey:name];
                } else if constexpr (std::is_same_v<T, PreferenceDictionary>) {
                    NSMutableDictionary<NSString*, NSNumber*>* dictionary = [NSMutableDictionary dictionary];
                    for (const auto& [entryName, number] : v) dictionary[toNSString(entryName)] = @(number);
                    [defaults setObject:dictionary forKey:name];
                } else {
                    [defaults setObject:toNSString(v) forKey:name];
                }
            },
            value);
    }
}

void UserDefaultsPreferences::removeValue(std::string_view key) {
    @autoreleasepool {
        [defaults_->defaults removeObjectForKey:toNSString(key)];
    }
}

}  // namespace pivra
