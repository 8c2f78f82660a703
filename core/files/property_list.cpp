#include "core/files/property_list.hpp"

#include <cstdint>
#include <limits>

#include "core/files/small_file.hpp"

namespace pivra {

PropertyList parsePropertyList(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max()) return nullptr;
    const auto length = static_cast<std::uint32_t>(bytes.size());
    plist_t root = nullptr;
    // The return values differ between libplist versions; the root alone tells.
    if (plist_is_binary(bytes.data(), length)) {
        plist_from_bin(bytes.data(), length, &root);
    } else {
        plist_from_xml(bytes.data(), length, &root);
    }
    return PropertyList(root);
}

PropertyList readBundleInfo(const std::filesystem::path& bundle) {
    // Far beyond any real Info.plist; a larger file is not read into memory.
    constexpr std::uintmax_t kMaxInfoPlistSize = 16u << 20;
    const auto bytes = readSmallFile(bundle / "Contents" / "Info.plist", kMaxInfoPlistSize);
    return bytes ? parsePropertyList(*bytes) : nullptr;
}

plist_t propertyListItem(plist_t node, const char* key) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_DICT) return nullptr;
    return plist_dict_get_item(node, key);
}

std::optional<std::string> propertyListString(plist_t node) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (text == nullptr) return std::nullopt;
    return std::string(text, static_cast<std::size_t>(length));
}

}  // namespace pivra
