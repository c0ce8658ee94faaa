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

TEST(Records, FieldOrderIsTheRecordOrder)
{
    CLoadCalData c;
    for (int f = 0; f < CLoadCalData::kFieldCount; ++f) {
        c.FieldAt(f) = std::to_wstring(f);
    }
    EXPECT_EQ(c.m_strCircuitNo, L"0");
    EXPECT_EQ(c.m_strPhase, L"3");
    EXPECT_EQ(c.m_strCalcI, L"10");
    EXPECT_EQ(c.m_strVoltage, L"11");
    EXPECT_EQ(c.m_strTransformer, L"12");
    CTransformerCalData t;
    for (int f = 0; f < CTransformerCalData::kFieldCount; ++f) {
        t.FieldAt(f) = std::to_wstring(f);
    }
    EXPECT_EQ(t.m_strCalcCapacity, L"6");
    EXPECT_EQ(t.m_strCalcP, L"7");
    EXPECT_EQ(t.m_strActualCompCapacity, L"16");
    EXPECT_THROW(t.FieldAt(17), CInvalidArgException);
    EXPECT_THROW(c.FieldAt(-1), CInvalidArgException);
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

TEST(Records, CopiesAreIndependent)
{
    CLoadCalData a;
    a.m_strEquipName = L"水泵";
    CLoadCalData b = a;
    b.m_strEquipName = L"风机";
    EXPECT_EQ(a.m_strEquipName, L"水泵");
    a = b;
    EXPECT_EQ(a, b);
}

TEST(RecordArray, IndexOutsideTheArrayThrows)
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
}

TEST(RecordArray, RemoveMovesTheRestUpAndInsertKeepsOrder)
{
    CArray<int> a{1, 2, 3, 4};
    a.RemoveAt(1);
    EXPECT_EQ(a, (CArray<int>{1, 3, 4}));
    a.InsertAt(1, CArray<int>{7, 8});
    EXPECT_EQ(a, (CArray<int>{1, 7, 8, 3, 4}));
    a.InsertAt(5, 9);
    EXPECT_EQ(a[5], 9);
    a.SetAtGrow(8, 5);
    EXPECT_EQ(a.GetSize(), 9);
    EXPECT_EQ(a[7], 0);
}
