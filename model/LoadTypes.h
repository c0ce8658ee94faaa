#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/Checks.h"
#include "model/Document.h"
#include "model/Records.h"

namespace loadcal {

/// The scale a tiered load type reads from a circuit's quantity (数量).
enum class QuantityKind {
    None,        ///< the type is not tiered
    FloorArea,   ///< floor area, m²
    Units,       ///< number of units (台)
    Households,  ///< number of households (户)
    Power,       ///< installed power of the group, kW
};

/// The scale's name as tables show it ("建筑面积(m²)", "台数", …; empty for None).
std::wstring_view QuantityName(QuantityKind kind);

/// One bound of a tier: a value and whether the value itself belongs to the tier.
struct CTierBound {
    double value = 0;
    bool included = false;
    friend bool operator==(const CTierBound&, const CTierBound&) = default;
};

/// One row of a tiered load type: the quantities it covers and its demand
/// factors (ratios). The lower bound is always given; a missing upper bound
/// means "and above". The label is the row's scale as its source writes it
/// ("500–3000 m²", "4–8 户").
struct CLoadTypeTier {
    std::wstring label;
    CTierBound lower;
    std::optional<CTierBound> upper;
    double kxMin = 0;
    double kx = 0;
    double kxMax = 0;
    std::wstring note;  ///< where the row's figures need a word of their own

    /// True when quantity lies within both bounds.
    bool Contains(double quantity) const;
    friend bool operator==(const CLoadTypeTier&, const CLoadTypeTier&) = default;
};

/// Where a type of the library comes from.
enum class LoadTypeOrigin {
    Shipped,       ///< the library shipped with the program
    UserAdded,     ///< the user library, a name the shipped one does not have
    UserOverride,  ///< the user library, replacing the shipped type of that name
};

/// Where a type comes from as listings name it (内置, 用户, 用户覆盖).
std::wstring_view OriginName(LoadTypeOrigin origin);

/// One load type of the demand-factor library: its demand factor Kx (one
/// range, or one range per tier of a quantity), its power factor cos φ when
/// the source gives one, and where the figures come from. A plain value.
struct CLoadType {
    std::wstring name;   ///< as designers call the load: 电梯, 照明插座, …
    std::wstring scale;  ///< what the figures apply to, in words
    QuantityKind quantity = QuantityKind::None;
    std::vector<CLoadTypeTier> tiers;  ///< empty: one range for every quantity
    /// Kx of an untiered type. For a tiered type kxMin and kxMax hold the
    /// lowest and highest Kx of its tiers, and kx is not used.
    double kxMin = 0;
    double kx = 0;
    double kxMax = 0;
    /// cos φ to fill, and the range the source gives (all three equal when
    /// it gives one value); none when the source gives no power factor.
    std::optional<double> cos;
    double cosMin = 0;
    double cosMax = 0;
    std::wstring source;     ///< standard or atlas by number and title, with its edition
    std::wstring table;      ///< the table and row of the source
    bool secondary = false;  ///< taken from a secondary summary, to be checked against the source
    bool fireFighting = false;  ///< fire-fighting equipment: its load class must be given
    std::wstring note;
    LoadTypeOrigin origin = LoadTypeOrigin::Shipped;

    bool IsTiered() const { return !tiers.empty(); }
    /// tan φ of the typical cos φ (none without a power factor).
    std::optional<double> Tan() const;
    /// The tier a quantity (amount) falls in, or null (untiered type, or a quantity
    /// outside every tier).
    const CLoadTypeTier* TierFor(double amount) const;
    /// For a tiered type: kxMin and kxMax from its tiers (kx then 0).
    void SetRangeFromTiers();
    /// The source in one text, as tables and the book cite it: source,
    /// table and, for a secondary summary, a note saying so; "用户自定义"
    /// for a type without source.
    std::wstring Citation() const;

    friend bool operator==(const CLoadType&, const CLoadType&) = default;
};

/// The load-type library: an ordered list of types with unique names
/// (compared after trimming, without regard to case and to full-width
/// letters, digits and brackets). Owns its types.
class CLoadTypeLibrary {
public:
    CLoadTypeLibrary() = default;
    explicit CLoadTypeLibrary(std::vector<CLoadType> types);

    const std::vector<CLoadType>& Types() const { return m_types; }
    bool IsEmpty() const { return m_types.empty(); }
    /// The type of that name, or null.
    const CLoadType* Find(std::wstring_view name) const;
    /// Adds a type at the end, or replaces the type of the same name in its place.
    void Put(CLoadType type);

    /// The shipped library with a user library laid over it: a user type
    /// replaces the shipped type of its name in its place (UserOverride),
    /// other user types follow in their own order (UserAdded).
    static CLoadTypeLibrary Merge(const CLoadTypeLibrary& shipped, const CLoadTypeLibrary& user);

    friend bool operator==(const CLoadTypeLibrary&, const CLoadTypeLibrary&) = default;

private:
    std::vector<CLoadType> m_types;
    std::vector<std::wstring> m_keys;  ///< LoadTypeKey of each type's name
};

/// The comparison key of a type name: trimmed, full-width ASCII forms and the
/// ideographic space made plain, folded to lower case.
std::wstring LoadTypeKey(std::wstring_view name);

/// How far a circuit's type gives its figures.
enum class TypeLookup {
    NoType,        ///< the circuit names no type
    UnknownType,   ///< the name is not in the library
    Found,         ///< Kx (and cos φ where the type has one) found
    BadQuantity,   ///< tiered type, quantity empty or not a positive number
    OutsideTiers,  ///< tiered type, quantity beyond its tiers
};

/// What a circuit's load type gives it: the Kx of its tier (from its
/// quantity) or of the type, and the type's cos φ.
struct CTypeFigures {
    TypeLookup status = TypeLookup::NoType;
    const CLoadType* type = nullptr;      ///< the library's type, when found by name
    const CLoadTypeTier* tier = nullptr;  ///< the tier of the quantity, for a tiered type
    std::optional<double> quantity;       ///< the quantity read, when it is a positive number
    std::optional<double> kx;             ///< Kx to fill, when status is Found
    std::optional<double> cos;            ///< cos φ to fill, when the type has one
};

/// The figures a circuit's type gives (the library is borrowed: the result
/// points into it).
CTypeFigures FiguresForCircuit(const CLoadCalData& circuit, const CLoadTypeLibrary& library);

/// Fills an empty demand factor or power factor of a circuit that names a
/// type with the type's figures ("%G" text); a typed value is never
/// replaced, and nothing is filled when the type gives no figure. Returns
/// true when a field changed. Nothing is recalculated.
bool FillFromLoadType(CLoadCalData& circuit, const CLoadTypeLibrary& library);
/// The same for every circuit of a document; returns the number changed.
int FillFromLoadTypes(CLoadCalDocument& doc, const CLoadTypeLibrary& library);

/// What choosing a circuit's type (or changing the quantity of a tiered
/// type) does in the window: the demand factor takes the Kx of the type or
/// of the quantity's tier, the power factor the type's cos φ ("%G" text),
/// replacing what they held; a figure the type does not give (no cos φ, a
/// quantity outside the tiers or not a positive number) is left alone.
/// Returns true when a field changed. Nothing is recalculated.
bool TakeFiguresFromLoadType(CLoadCalData& circuit, const CLoadTypeLibrary& library);

/// The warnings about the circuits' load types, classes and fire roles, in
/// circuit order: a type not in the library (Kx taken as typed); a quantity
/// that is not a positive number, or beyond the tiers, on a tiered type; a
/// typed Kx outside the range of the type (or its tier); a fire-fighting
/// load without a load class; a load class or fire text that is none of
/// the known ones.
CCheckWarnings CheckLoadTypes(const CLoadCalDocument& doc, const CLoadTypeLibrary& library);
/// The same for circuit i alone, appended to out (CheckLoadTypes is this for
/// every circuit in order).
void CheckLoadType(const CLoadCalData& circuit, int i, const CLoadTypeLibrary& library,
                   CCheckWarnings& out);

}  // namespace loadcal
