#include "tests/output/OutputTestSupport.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include "model/Text.h"

namespace loadcal::testoutput {

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

void MakeDocument(int n, int m, CLoadArray& loads, CTransformerArray& transformers)
{
    loads.RemoveAll();
    transformers.RemoveAll();
    for (int k = 0; k < n; ++k) {
        loads.Add(Circuit(k));
    }
    for (int i = 0; i < m; ++i) {
        transformers.Add(Transformer(i));
    }
}

SummaryTotals DistinctTotals()
{
    return {L"101.5", L"82.25", L"61.75", L"102.7", L"0.801", L"156.03"};
}

TempFolder::TempFolder()
{
    static std::mt19937_64 rng{std::random_device{}()};
    m_path = std::filesystem::temp_directory_path() /
             ("loadcal-output-test-" + std::to_string(::getpid()) + "-" + std::to_string(rng()));
    std::filesystem::create_directories(m_path);
}

TempFolder::~TempFolder()
{
    std::error_code ec;
    std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(m_path, ec);
}

std::vector<std::string> TempFolder::Entries() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
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

std::string Utf8(const std::wstring& text)
{
    return ToUtf8(text);
}

std::string ReadFile(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

}  // namespace loadcal::testoutput
