#include "model/Records.h"

#include "model/Calculation.h"

namespace loadcal {
namespace {

using LoadMember = std::wstring CLoadCalData::*;
using TransformerMember = std::wstring CTransformerCalData::*;

constexpr std::array<LoadMember, CLoadCalData::kAnyFieldCount> kLoadMembers = {
    &CLoadCalData::m_strCircuitNo,   &CLoadCalData::m_strEquipNo,
    &CLoadCalData::m_strEquipName,   &CLoadCalData::m_strPhase,
    &CLoadCalData::m_strRatedPower,  &CLoadCalData::m_strDemandFactor,
    &CLoadCalData::m_strPowerFactor, &CLoadCalData::m_strCalcP,
    &CLoadCalData::m_strCalcQ,       &CLoadCalData::m_strCalcS,
    &CLoadCalData::m_strCalcI,       &CLoadCalData::m_strVoltage,
    &CLoadCalData::m_strTransformer, &CLoadCalData::m_strLoadType,
    &CLoadCalData::m_strQuantity,    &CLoadCalData::m_strLoadClass,
    &CLoadCalData::m_strFire,
};

constexpr std::array<TransformerMember, CTransformerCalData::kAnyFieldCount> kTransformerMembers = {
    &CTransformerCalData::m_strName,
    &CTransformerCalData::m_strRatedCapacity,
    &CTransformerCalData::m_strActualLoadRate,
    &CTransformerCalData::m_strLoadRate,
    &CTransformerCalData::m_strKp,
    &CTransformerCalData::m_strKq,
    &CTransformerCalData::m_strCalcCapacity,
    &CTransformerCalData::m_strCalcP,
    &CTransformerCalData::m_strCalcQ,
    &CTransformerCalData::m_strCalcS,
    &CTransformerCalData::m_strCalcI,
    &CTransformerCalData::m_strAlpha,
    &CTransformerCalData::m_strBeta,
    &CTransformerCalData::m_strCosBefore,
    &CTransformerCalData::m_strCosAfter,
    &CTransformerCalData::m_strCompCapacity,
    &CTransformerCalData::m_strActualCompCapacity,
    &CTransformerCalData::m_strFireCalcP,
    &CTransformerCalData::m_strFireCalcQ,
    &CTransformerCalData::m_strFireCalcS,
    &CTransformerCalData::m_strFireCalcI,
    &CTransformerCalData::m_strFireCosBefore,
    &CTransformerCalData::m_strFireCompCapacity,
    &CTransformerCalData::m_strFireLoadRate,
    &CTransformerCalData::m_strGoverningCase,
};

using BoardMember = std::wstring CBoardCalData::*;

constexpr std::array<BoardMember, CBoardCalData::kAnyFieldCount> kBoardMembers = {
    &CBoardCalData::m_strName,
    &CBoardCalData::m_strOwner,
    &CBoardCalData::m_strPhase,
    &CBoardCalData::m_strKp,
    &CBoardCalData::m_strKq,
    &CBoardCalData::m_strRatedPower,
    &CBoardCalData::m_strCalcP,
    &CBoardCalData::m_strCalcQ,
    &CBoardCalData::m_strCalcS,
    &CBoardCalData::m_strCalcI,
    &CBoardCalData::m_strPowerFactor,
    &CBoardCalData::m_strFireRatedPower,
    &CBoardCalData::m_strFireCalcP,
    &CBoardCalData::m_strFireCalcQ,
    &CBoardCalData::m_strFireCalcS,
    &CBoardCalData::m_strFireCalcI,
    &CBoardCalData::m_strFirePowerFactor,
    &CBoardCalData::m_strGoverningCase,
};

/// True when one of a record's fields beyond its first count is not empty.
template <class Record, size_t N>
bool AnyExtraField(const Record& r, const std::array<std::wstring Record::*, N>& members,
                   size_t first)
{
    for (size_t f = first; f < N; ++f) {
        if (!(r.*members[f]).empty()) {
            return true;
        }
    }
    return false;
}

template <size_t N>
size_t CheckField(int field)
{
    if (field < 0 || static_cast<size_t>(field) >= N) {
        throw CInvalidArgException("record field " + std::to_string(field) + " outside 0.." +
                                   std::to_string(N - 1));
    }
    return static_cast<size_t>(field);
}

}  // namespace

CLoadCalData::CLoadCalData()
    : m_strDemandFactor(L"1.0"), m_strPowerFactor(L"0.8"), m_strVoltage(kVoltageThree)
{}

std::wstring& CLoadCalData::FieldAt(int field)
{
    return this->*kLoadMembers[CheckField<kFieldCount>(field)];
}

const std::wstring& CLoadCalData::FieldAt(int field) const
{
    return this->*kLoadMembers[CheckField<kFieldCount>(field)];
}

std::wstring& CLoadCalData::AnyFieldAt(int field)
{
    return this->*kLoadMembers[CheckField<kAnyFieldCount>(field)];
}

const std::wstring& CLoadCalData::AnyFieldAt(int field) const
{
    return this->*kLoadMembers[CheckField<kAnyFieldCount>(field)];
}

bool CLoadCalData::HasExtraFields() const
{
    return !m_strLoadType.empty() || !m_strQuantity.empty() || !m_strLoadClass.empty() ||
           !m_strFire.empty();
}

bool CLoadCalData::IsBlank() const
{
    return m_strCircuitNo.empty() && m_strEquipNo.empty() && m_strEquipName.empty() &&
           m_strRatedPower.empty() && m_strTransformer.empty();
}

void CLoadCalData::Calculate()
{
    RecalculateCircuit(*this);
}

CTransformerCalData::CTransformerCalData()
    : m_strLoadRate(L"0.7"),
      m_strKp(L"0.9"),
      m_strKq(L"0.97"),
      m_strAlpha(L"0.7"),
      m_strBeta(L"0.76"),
      m_strCosAfter(L"0.9")
{}

std::wstring& CTransformerCalData::FieldAt(int field)
{
    return this->*kTransformerMembers[CheckField<kFieldCount>(field)];
}

const std::wstring& CTransformerCalData::FieldAt(int field) const
{
    return this->*kTransformerMembers[CheckField<kFieldCount>(field)];
}

std::wstring& CTransformerCalData::AnyFieldAt(int field)
{
    return this->*kTransformerMembers[CheckField<kAnyFieldCount>(field)];
}

const std::wstring& CTransformerCalData::AnyFieldAt(int field) const
{
    return this->*kTransformerMembers[CheckField<kAnyFieldCount>(field)];
}

bool CTransformerCalData::HasExtraFields() const
{
    return AnyExtraField(*this, kTransformerMembers, kFieldCount);
}

// The simultaneity factors of a new board come from the row "feeder or riser"
// of the simultaneity factors in use in Chinese practice (K∑p 0.85 - 0.95,
// K∑q 0.90 - 0.97, K∑q not below K∑p), each taken near the middle of its range.
CBoardCalData::CBoardCalData() : m_strPhase(kPhaseThree), m_strKp(L"0.9"), m_strKq(L"0.95") {}

std::wstring& CBoardCalData::FieldAt(int field)
{
    return this->*kBoardMembers[CheckField<kFieldCount>(field)];
}

const std::wstring& CBoardCalData::FieldAt(int field) const
{
    return this->*kBoardMembers[CheckField<kFieldCount>(field)];
}

std::wstring& CBoardCalData::AnyFieldAt(int field)
{
    return this->*kBoardMembers[CheckField<kAnyFieldCount>(field)];
}

const std::wstring& CBoardCalData::AnyFieldAt(int field) const
{
    return this->*kBoardMembers[CheckField<kAnyFieldCount>(field)];
}

bool CBoardCalData::HasExtraFields() const
{
    return AnyExtraField(*this, kBoardMembers, kFieldCount);
}

}  // namespace loadcal
