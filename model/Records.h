#pragma once

#include <array>
#include <string>
#include <string_view>

#include "model/RecordArray.h"

namespace loadcal {

/// The four phase texts, in the order of the choice list and of the phase
/// sums. They are compared as whole, case-sensitive strings.
inline constexpr std::wstring_view kPhaseL1 = L"L1,N";
inline constexpr std::wstring_view kPhaseL2 = L"L2,N";
inline constexpr std::wstring_view kPhaseL3 = L"L3,N";
inline constexpr std::wstring_view kPhaseThree = L"L1,L2,L3,N";
inline constexpr std::array<std::wstring_view, 4> kPhaseTexts = {kPhaseL1, kPhaseL2, kPhaseL3,
                                                                 kPhaseThree};
/// True when phase is exactly one of the four phase texts.
constexpr bool IsPhaseText(std::wstring_view phase)
{
    for (std::wstring_view p : kPhaseTexts) {
        if (phase == p) {
            return true;
        }
    }
    return false;
}
/// Default working voltage (kV) of a single-phase and of a three-phase circuit.
inline constexpr std::wstring_view kVoltageSingle = L"0.22";
inline constexpr std::wstring_view kVoltageThree = L"0.38";

/// The load-class texts of the field 负荷等级, highest class first.
inline constexpr std::wstring_view kLoadClassSpecial = L"一级中特别重要";
inline constexpr std::wstring_view kLoadClassFirst = L"一级";
inline constexpr std::wstring_view kLoadClassSecond = L"二级";
inline constexpr std::wstring_view kLoadClassThird = L"三级";
inline constexpr std::array<std::wstring_view, 4> kLoadClassTexts = {
    kLoadClassSpecial, kLoadClassFirst, kLoadClassSecond, kLoadClassThird};
/// The texts of the field 消防: empty for a normal load, a load that runs only
/// in a fire, a load shed in a fire.
inline constexpr std::wstring_view kFireNormal = L"";
inline constexpr std::wstring_view kFireOnly = L"消防";
inline constexpr std::wstring_view kFireShed = L"火灾时切除";
inline constexpr std::array<std::wstring_view, 3> kFireTexts = {kFireNormal, kFireOnly, kFireShed};
/// Which case governs a transformer's rated capacity or a board's incoming
/// feeder, as the field 取值工况 of a document with fire roles holds it: the
/// normal operation, or the fire.
inline constexpr std::wstring_view kGoverningNormal = L"正常";
inline constexpr std::wstring_view kGoverningFire = L"火灾";

/// One load circuit: the original 13 texts in a fixed order, then four texts
/// beyond them (load type, quantity, load class, fire role), all empty unless
/// the designer fills them. Figures stay the text typed or the "%G" text a
/// calculation wrote; units: powers in kW / kVar / kVA, current in A, voltage
/// in kV, factors as ratios; the quantity's unit is the one its load type
/// reads (m², units, households, kW). A plain value: copying copies every
/// field.
class CLoadCalData {
public:
    /// Field numbers of the original thirteen, in record order (archive and
    /// JSON order). Everything that walks "the fields" of a circuit walks
    /// these.
    enum Field {
        kCircuitNo,
        kEquipNo,
        kEquipName,
        kPhase,
        kRatedPower,
        kDemandFactor,
        kPowerFactor,
        kCalcP,
        kCalcQ,
        kCalcS,
        kCalcI,
        kVoltage,
        kTransformer,
        kFieldCount
    };
    /// The fields beyond the original thirteen, numbered on from them so that
    /// a table column or a warning names any field by one number. FieldAt
    /// refuses them; AnyFieldAt takes both.
    enum ExtraField { kLoadType = kFieldCount, kQuantity, kLoadClass, kFire, kAnyFieldCount };
    static constexpr int kExtraFieldCount =
        static_cast<int>(kAnyFieldCount) - static_cast<int>(kFieldCount);

    CLoadCalData();

    std::wstring m_strCircuitNo;     ///< circuit number
    std::wstring m_strEquipNo;       ///< equipment number
    std::wstring m_strEquipName;     ///< equipment name
    std::wstring m_strPhase;         ///< one of the four phase texts
    std::wstring m_strRatedPower;    ///< installed power Pe, kW
    std::wstring m_strDemandFactor;  ///< demand factor K
    std::wstring m_strPowerFactor;   ///< power factor cos phi
    std::wstring m_strCalcP;         ///< Pjs, kW
    std::wstring m_strCalcQ;         ///< Qjs, kVar
    std::wstring m_strCalcS;         ///< Sjs, kVA
    std::wstring m_strCalcI;         ///< Ijs, A
    std::wstring m_strVoltage;       ///< working voltage U, kV
    std::wstring m_strTransformer;   ///< owner name(s), joined with ","
    std::wstring m_strLoadType;      ///< 负荷类型: a name of the load-type library
    std::wstring m_strQuantity;      ///< 数量: the scale a tiered load type reads
    std::wstring m_strLoadClass;     ///< 负荷等级: one of kLoadClassTexts, or empty
    std::wstring m_strFire;          ///< 消防: one of kFireTexts

    /// Field by record order (0 .. kFieldCount-1); throws CInvalidArgException otherwise.
    std::wstring& FieldAt(int field);
    const std::wstring& FieldAt(int field) const;
    /// Any field, the original thirteen and the four beyond them
    /// (0 .. kAnyFieldCount-1); throws CInvalidArgException otherwise.
    std::wstring& AnyFieldAt(int field);
    const std::wstring& AnyFieldAt(int field) const;
    /// True when one of the four fields beyond the original thirteen is not empty.
    bool HasExtraFields() const;

    /// True when circuit number, equipment number and name, rated power and
    /// owner are all empty; phase, factors, voltage and results do not count.
    bool IsBlank() const;

    /// Circuit calculation: fills Pjs, Qjs, Sjs and Ijs (fields 7 to 10) from
    /// Pe, K, cos phi, U and the phase.
    void Calculate();

    friend bool operator==(const CLoadCalData&, const CLoadCalData&) = default;
};

/// True when a circuit has a fire role: its field 消防 is exactly "消防" (it
/// runs only in a fire) or "火灾时切除" (shed in a fire). Any other text,
/// empty included, counts in both cases.
inline bool HasFireRole(const CLoadCalData& circuit)
{
    return circuit.m_strFire == kFireOnly || circuit.m_strFire == kFireShed;
}

/// One transformer: 17 texts in a fixed order, then the computed figures of
/// the fire case beyond them. Load rates are ratios (0.7 means 70 %), powers
/// in kW / kVar / kVA, current in A. A plain value.
class CTransformerCalData {
public:
    enum Field {
        kName,
        kRatedCapacity,
        kActualLoadRate,
        kLoadRate,
        kKp,
        kKq,
        kCalcCapacity,
        kCalcP,
        kCalcQ,
        kCalcS,
        kCalcI,
        kAlpha,
        kBeta,
        kCosBefore,
        kCosAfter,
        kCompCapacity,
        kActualCompCapacity,
        kFieldCount
    };
    /// The computed fields of the fire case, beyond the original seventeen
    /// and numbered on from them. They hold text only in a document with fire
    /// roles (a circuit whose 消防 is "消防" or "火灾时切除"); everything
    /// that walks "the fields" of a transformer walks the seventeen.
    enum ExtraField {
        kFireCalcP = kFieldCount,
        kFireCalcQ,
        kFireCalcS,
        kFireCalcI,
        kFireCosBefore,
        kFireCompCapacity,
        kFireLoadRate,
        kGoverningCase,
        kAnyFieldCount
    };
    static constexpr int kExtraFieldCount =
        static_cast<int>(kAnyFieldCount) - static_cast<int>(kFieldCount);

    CTransformerCalData();

    std::wstring m_strName;                ///< unique without regard to case
    std::wstring m_strRatedCapacity;       ///< standard rated capacity, kVA
    std::wstring m_strActualLoadRate;      ///< S2 / rated capacity, ratio
    std::wstring m_strLoadRate;            ///< expected load rate, ratio
    std::wstring m_strKp;                  ///< active simultaneity factor
    std::wstring m_strKq;                  ///< reactive simultaneity factor
    std::wstring m_strCalcCapacity;        ///< spare figure, kept but never computed
    std::wstring m_strCalcP;               ///< Pc = Kp x sum Pjs, kW
    std::wstring m_strCalcQ;               ///< Q2 after compensation, kVar
    std::wstring m_strCalcS;               ///< S2 after compensation, kVA
    std::wstring m_strCalcI;               ///< I2, A
    std::wstring m_strAlpha;               ///< average active-load coefficient
    std::wstring m_strBeta;                ///< average reactive-load coefficient
    std::wstring m_strCosBefore;           ///< cos phi1 before compensation
    std::wstring m_strCosAfter;            ///< target cos phi2
    std::wstring m_strCompCapacity;        ///< required compensation, kVar
    std::wstring m_strActualCompCapacity;  ///< installed compensation, kVar (empty/0: required)
    // The fire case: the same arithmetic over the circuits that run in a fire.
    std::wstring m_strFireCalcP;         ///< Pc in a fire, kW
    std::wstring m_strFireCalcQ;         ///< Q2 in a fire, after compensation, kVar
    std::wstring m_strFireCalcS;         ///< S2 in a fire, after compensation, kVA
    std::wstring m_strFireCalcI;         ///< I2 in a fire, A
    std::wstring m_strFireCosBefore;     ///< cos phi1 in a fire
    std::wstring m_strFireCompCapacity;  ///< compensation the fire case requires, kVar
    std::wstring m_strFireLoadRate;      ///< S2 in a fire / rated capacity, ratio
    std::wstring m_strGoverningCase;     ///< kGoverningNormal or kGoverningFire

    /// Field by record order (0 .. kFieldCount-1); throws CInvalidArgException otherwise.
    std::wstring& FieldAt(int field);
    const std::wstring& FieldAt(int field) const;
    /// Any field, the seventeen and the fire case's (0 .. kAnyFieldCount-1);
    /// throws CInvalidArgException otherwise.
    std::wstring& AnyFieldAt(int field);
    const std::wstring& AnyFieldAt(int field) const;
    /// True when one of the fields beyond the original seventeen is not empty.
    bool HasExtraFields() const;

    /// A transformer row is empty when its name is empty.
    bool IsBlank() const { return m_strName.empty(); }

    friend bool operator==(const CTransformerCalData&, const CTransformerCalData&) = default;
};

/// One distribution board (配电箱): a group of circuits and of other boards,
/// fed from the boards and transformers its owner list names (several for a
/// dual-fed board). 11 texts in a fixed order, then the computed figures of
/// the fire case beyond them; powers in kW / kVar / kVA, current in A,
/// factors as ratios. A plain value.
class CBoardCalData {
public:
    /// Field numbers in record order (archive and JSON order).
    enum Field {
        kName,
        kOwner,
        kPhase,
        kKp,
        kKq,
        kRatedPower,
        kCalcP,
        kCalcQ,
        kCalcS,
        kCalcI,
        kPowerFactor,
        kFieldCount
    };
    /// The computed fields of the fire case, numbered on from the eleven;
    /// they hold text only in a document with fire roles.
    enum ExtraField {
        kFireRatedPower = kFieldCount,
        kFireCalcP,
        kFireCalcQ,
        kFireCalcS,
        kFireCalcI,
        kFirePowerFactor,
        kGoverningCase,
        kAnyFieldCount
    };
    static constexpr int kExtraFieldCount =
        static_cast<int>(kAnyFieldCount) - static_cast<int>(kFieldCount);

    CBoardCalData();

    std::wstring m_strName;        ///< unique among boards and transformers, without regard to case
    std::wstring m_strOwner;       ///< owner name(s): boards and/or transformers, joined with ","
    std::wstring m_strPhase;       ///< one of the four phase texts; "L1,L2,L3,N" by default
    std::wstring m_strKp;          ///< active simultaneity factor K∑p
    std::wstring m_strKq;          ///< reactive simultaneity factor K∑q
    std::wstring m_strRatedPower;  ///< ΣPe of the board's members, kW
    std::wstring m_strCalcP;       ///< Pjs = K∑p x ΣP, kW
    std::wstring m_strCalcQ;       ///< Qjs = K∑q x ΣQ, kVar
    std::wstring m_strCalcS;       ///< Sjs, kVA
    std::wstring m_strCalcI;       ///< Ijs, A
    std::wstring m_strPowerFactor;  ///< cos phi = Pjs / Sjs
    // The fire case: the same arithmetic over the circuits that run in a fire.
    std::wstring m_strFireRatedPower;   ///< ΣPe in a fire, kW
    std::wstring m_strFireCalcP;        ///< Pjs in a fire, kW
    std::wstring m_strFireCalcQ;        ///< Qjs in a fire, kVar
    std::wstring m_strFireCalcS;        ///< Sjs in a fire, kVA
    std::wstring m_strFireCalcI;        ///< Ijs in a fire, A
    std::wstring m_strFirePowerFactor;  ///< cos phi in a fire
    std::wstring m_strGoverningCase;    ///< kGoverningNormal or kGoverningFire (larger Sjs)

    /// Field by record order (0 .. kFieldCount-1); throws CInvalidArgException otherwise.
    std::wstring& FieldAt(int field);
    const std::wstring& FieldAt(int field) const;
    /// Any field, the eleven and the fire case's (0 .. kAnyFieldCount-1);
    /// throws CInvalidArgException otherwise.
    std::wstring& AnyFieldAt(int field);
    const std::wstring& AnyFieldAt(int field) const;
    /// True when one of the fields beyond the original eleven is not empty.
    bool HasExtraFields() const;

    /// A board row is empty when its name is empty.
    bool IsBlank() const { return m_strName.empty(); }

    friend bool operator==(const CBoardCalData&, const CBoardCalData&) = default;
};

using CLoadArray = CArray<CLoadCalData>;
using CTransformerArray = CArray<CTransformerCalData>;
using CBoardArray = CArray<CBoardCalData>;

}  // namespace loadcal
