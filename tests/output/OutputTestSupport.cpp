#include "tests/output/OutputTestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "model/Text.h"

namespace loadcal::testoutput {

const std::array<std::wstring, 13> kLoadTitles = {
    L"回路编号",      L"设备编号",    L"设备名称",         L"相位",         L"额定容量(kW)",
    L"工作电压(kV)",  L"需要系数(K)", L"功率因数(cos(φ))", L"计算有功(kW)", L"计算无功(kVar)",
    L"视在功率(kVA)", L"计算电流(A)", L"归属变压器"};

const std::array<std::wstring, 16> kTransformerTitles = {
    L"变压器名称",     L"额定容量(kVA)",  L"实际负载率%",   L"预计负荷率%",
    L"同时系数(Kp)",   L"同时系数(Kq)",   L"计算有功(kW)",  L"计算无功(kVar)",
    L"视在功率(kVA)",  L"计算电流(A)",    L"有功补偿系数α", L"无功补偿系数β",
    L"补偿前功率因数", L"补偿后功率因数", L"补偿容量",      L"实际补偿容量"};

CLoadCalData Circuit(int k)
{
    const std::wstring n = std::to_wstring(k);
    CLoadCalData c;
    c.m_strCircuitNo = L"WL" + n;
    c.m_strEquipNo = L"AL-" + n;
    c.m_strEquipName = L"照明配电箱" + n;
    c.m_strPhase = k % 2 ? L"L1,N" : L"L1,L2,L3,N";
    c.m_strRatedPower = std::to_wstring(10 + k) + L".5";
    c.m_strVoltage = k % 2 ? L"0.22" : L"0.38";
    c.m_strDemandFactor = L"0.7" + n;
    c.m_strPowerFactor = L"0.8" + n;
    c.m_strCalcP = L"P" + n;
    c.m_strCalcQ = L"Q" + n;
    c.m_strCalcS = L"S" + n;
    c.m_strCalcI = L"I" + n;
    c.m_strTransformer = L"1#变压器";
    return c;
}

CTransformerCalData Transformer(int m)
{
    const std::wstring n = std::to_wstring(m);
    CTransformerCalData t;
    t.m_strName = L"变压器" + n;
    t.m_strRatedCapacity = L"cap" + n;
    t.m_strActualLoadRate = L"alr" + n;
    t.m_strLoadRate = L"lr" + n;
    t.m_strKp = L"kp" + n;
    t.m_strKq = L"kq" + n;
    t.m_strCalcCapacity = L"SPARE-" + n;
    t.m_strCalcP = L"tp" + n;
    t.m_strCalcQ = L"tq" + n;
    t.m_strCalcS = L"ts" + n;
    t.m_strCalcI = L"ti" + n;
    t.m_strAlpha = L"α" + n;
    t.m_strBeta = L"β" + n;
    t.m_strCosBefore = L"cb" + n;
    t.m_strCosAfter = L"ca" + n;
    t.m_strCompCapacity = L"补偿" + n;
    t.m_strActualCompCapacity = L"实补" + n;
    return t;
}

std::array<std::wstring, 13> CircuitRow(const CLoadCalData& c)
{
    return {c.m_strCircuitNo,  c.m_strEquipNo, c.m_strEquipName,    c.m_strPhase,
            c.m_strRatedPower, c.m_strVoltage, c.m_strDemandFactor, c.m_strPowerFactor,
            c.m_strCalcP,      c.m_strCalcQ,   c.m_strCalcS,        c.m_strCalcI,
            c.m_strTransformer};
}

std::array<std::wstring, 16> TransformerRow(const CTransformerCalData& t)
{
    return {t.m_strName,
            t.m_strRatedCapacity,
            t.m_strActualLoadRate,
            t.m_strLoadRate,
            t.m_strKp,
            t.m_strKq,
            t.m_strCalcP,
            t.m_strCalcQ,
            t.m_strCalcS,
            t.m_strCalcI,
            t.m_strAlpha,
            t.m_strBeta,
            t.m_strCosBefore,
            t.m_strCosAfter,
            t.m_strCompCapacity,
            t.m_strActualCompCapacity};
}

Document MakeDocument(int n, int m)
{
    Document d;
    for (int k = 0; k < n; ++k) {
        d.loads.Add(Circuit(k));
    }
    for (int i = 0; i < m; ++i) {
        d.transformers.Add(Transformer(i));
    }
    return d;
}

SummaryTotals DistinctTotals()
{
    return {L"101.5", L"82.25", L"61.75", L"102.7", L"0.801", L"156.03"};
}

nlohmann::json ReadBack(const std::string& kind, const std::filesystem::path& file)
{
    const std::string command = "/usr/bin/python3 '" LOADCAL_SOURCE_DIR
                                "/tests/output/read_outputs.py' " +
                                kind + " '" + file.string() + "'";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) {
        ADD_FAILURE() << "cannot run " << command;
        return nullptr;
    }
    std::string output;
    char buffer[65536];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        output.append(buffer, n);
    }
    const int status = ::pclose(pipe);
    if (status != 0) {
        ADD_FAILURE() << command << " exited with status " << status;
        return nullptr;
    }
    try {
        return nlohmann::json::parse(output);
    } catch (const std::exception& e) {
        ADD_FAILURE() << "the reader's output is not JSON: " << e.what();
        return nullptr;
    }
}

}  // namespace loadcal::testoutput
