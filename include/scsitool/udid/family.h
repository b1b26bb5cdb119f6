#ifndef SCSITOOL_UDID_FAMILY_H
#define SCSITOOL_UDID_FAMILY_H

#include <cstddef>
#include <string>
#include <string_view>

#include "scsitool/host/export.h"
#include "scsitool/udid/device_udid_generator.h"
#include "scsitool/udid/reporter.h"

/// Array families as rows of a table. The library has such a table; a plug-in with generators of
/// its own makes another one. docs/architecture.md walks through both.
namespace udid {

/// The texts of the record that a claim may ask for.
enum class Asked { kNothing, kVendor, kProduct };

/// One condition of a claim: a text of the record holds one of these words, upper and lower case
/// told apart. Without a word it is the generator's own key that is compared.
struct Condition {
    static constexpr std::size_t kMostWords = 16;

    Asked asked = Asked::kNothing;
    Rule rule = Rule::kEquals;
    std::string_view words[kMostWords] = {};  ///< tried in order, up to the first empty one
};

/// When a record loses the trailing blanks of its product; those of its vendor it always loses.
enum class TrimsProduct { kWhenItIsCompared, kAlways };

/// Which records a family claims: those that fulfil every condition, asked in order.
struct Claim {
    Condition conditions[2] = {};
    TrimsProduct trimsProduct = TrimsProduct::kWhenItIsCompared;
};

/// The claim of a generator that has no other: vendor and product equal its keys.
inline constexpr Claim kClaimsItsKeys = {
    {{Asked::kVendor, Rule::kEquals, {}}, {Asked::kProduct, Rule::kEquals, {}}},
    TrimsProduct::kWhenItIsCompared};

/// One array family.
struct Family {
    const char* name;     ///< what people call it; the heading in docs/udid-formats.md
    const char* vendor;   ///< vendor key
    const char* product;  ///< product key
    Claim claim;
    /// Makes its generator. `create` below.
    CUdidGenerator* (*create)(const Family& family);
};

/// A new generator of a family, with the family's keys; the caller owns it.
template <class Generator>
CUdidGenerator* create(const Family& family) {
    return new Generator(family.vendor, family.product);
}

/// The vendor without trailing blanks. The record keeps the trimmed text: later generators see it.
SCSITOOL_EXPORT const std::string& trimVendor(CScsiDeviceData& record);
/// The same for the product.
SCSITOOL_EXPORT const std::string& trimProduct(CScsiDeviceData& record);

/// Compares a text with one word after the other, up to the first that holds, and reports each
/// comparison. `field` is what the text is called ("vendor", "product").
SCSITOOL_EXPORT bool matchesAny(const char* field, const std::string& value, Rule rule,
                                const std::string_view* words, std::size_t count);
template <std::size_t Count>
bool matchesAny(const char* field, const std::string& value, Rule rule,
                const std::string_view (&words)[Count]) {
    return matchesAny(field, value, rule, words, Count);
}

/// Tells whether the record fulfils a claim, trims its texts and reports the comparisons.
SCSITOOL_EXPORT bool claims(const Claim& claim, const CUdidGenerator& generator,
                            CScsiDeviceData& record);

/// The row of the generator's class in a table of families. A class without one does not compile.
template <class Generator, std::size_t Count>
constexpr const Family& familyOf(const Family (&table)[Count]) {
    std::size_t row = 0;
    while (table[row].create != &create<Generator>) {
        ++row;
    }
    return table[row];
}

}  // namespace udid

#endif
