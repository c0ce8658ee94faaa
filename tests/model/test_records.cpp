#include <gtest/gtest.h>

#include "model/Records.h"

using namespace loadcal;

TEST(Records, NewRecordsCarryTheirDefaultsAndNothingElse)
{
    const CLoadCalData c;
    for (int f = 0; f < CLoadCalData::kFieldCount; ++f) {
        const std::wstring expected = f == CLoadCalData::kDemandFactor  ? L"1.0"
                                      : f == CLoadCalData::kPowerFactor ? L"0.8"
                                      : f == CLoadCalData::kVoltage     ? L"0.38"
                                                                        : L"";
        EXPECT_EQ(c.FieldAt(f), expected) << "load field " << f;
    }
    const CTransformerCalData t;
    const std::wstring tDefaults[CTransformerCalData::kFieldCount] = {
        L"", L"", L"",    L"0.7",  L"0.9", L"0.97", L"", L"", L"",
        L"", L"", L"0.7", L"0.76", L"",    L"0.9",  L"", L""};
    for (int f = 0; f < CTransformerCalData::kFieldCount; ++f) {
        EXPECT_EQ(t.FieldAt(f), tDefaults[f]) << "transformer field " << f;
    }
}

TEST(Records, BlankTestLooksAtTheFiveKeyFieldsOnly)
{
    CLoadCalData c;
    c.m_strPhase = L"L1,N";
    c.m_strVoltage = L"0.22";
    c.m_strCalcP = L"5";
    EXPECT_TRUE(c.IsBlank());
    c.m_strRatedPower = L"5";
    EXPECT_FALSE(c.IsBlank());
    for (auto member : {&CLoadCalData::m_strCircuitNo, &CLoadCalData::m_strEquipNo,
                        &CLoadCalData::m_strEquipName, &CLoadCalData::m_strTransformer}) {
        CLoadCalData d;
        d.*member = L"x";
        EXPECT_FALSE(d.IsBlank());
    }
}

TEST(RecordArray, IndexOutsideTheArrayOrTheRecordThrows)
{
    CLoadArray arr;
    EXPECT_THROW(arr.GetAt(0), CInvalidArgException);
    arr.SetAtGrow(0, CLoadCalData());
    arr.Add(CLoadCalData());
    EXPECT_EQ(arr.GetSize(), 2);
    EXPECT_NO_THROW(arr[1]);
    EXPECT_THROW(arr[2], CInvalidArgException);
    EXPECT_THROW(arr[-1], CInvalidArgException);
    EXPECT_THROW(arr.SetAt(2, CLoadCalData()), CInvalidArgException);
    EXPECT_THROW(arr.RemoveAt(2), CInvalidArgException);
    EXPECT_THROW(arr.InsertAt(3, CLoadCalData()), CInvalidArgException);
    EXPECT_THROW(arr.SetAtGrow(-1, CLoadCalData()), CInvalidArgException);
    EXPECT_THROW(arr[0].FieldAt(-1), CInvalidArgException);
    EXPECT_THROW(CTransformerCalData().FieldAt(17), CInvalidArgException);
}
