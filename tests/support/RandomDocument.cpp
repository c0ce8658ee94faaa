#include "tests/support/RandomDocument.h"

#include <string>

#include "model/Numeric.h"

namespace loadcal::testsupport {
namespace {

std::wstring Figure(std::mt19937& rng, double lo, double hi, int decimals)
{
    std::uniform_real_distribution<double> d(lo, hi);
    const double scale = std::pow(10.0, decimals);
    return FormatG(std::round(d(rng) * scale) / scale);
}

}  // namespace

void MakeRandomDocument(std::mt19937& rng, const RandomDocumentOptions& opt, CLoadArray& loads,
                        CTransformerArray& transformers)
{
    loads.RemoveAll();
    transformers.RemoveAll();
    std::uniform_real_distribution<double> u(0, 1);
    std::uniform_int_distribution<int> pickT(1, std::max(1, opt.transformers));
    static const wchar_t* const kOddPhases[] = {L"l1,n", L"L2,N ", L"", L"L1,L2,L3,N;", L"x"};
    static const wchar_t* const kOddOwners[] = {L"", L"T1,T2", L"t1", L"T2,t3", L"T1,", L"无"};
    for (int i = 0; i < opt.circuits; ++i) {
        CLoadCalData c;
        c.m_strCircuitNo = L"WL" + std::to_wstring(i + 1);
        c.m_strEquipName = L"设备" + std::to_wstring(i);
        const double r = u(rng);
        if (u(rng) < opt.quirkShare) {
            c.m_strPhase = kOddPhases[static_cast<size_t>(r * 5) % 5];
        } else {
            c.m_strPhase = std::wstring(kPhaseTexts[static_cast<size_t>(r * 4) % 4]);
        }
        c.m_strVoltage = c.m_strPhase == kPhaseThree ? L"0.38" : L"0.22";
        c.m_strRatedPower = Figure(rng, 0.1, 120, 1);
        c.m_strDemandFactor = Figure(rng, 0.3, 1.0, 2);
        c.m_strPowerFactor = Figure(rng, 0.6, 1.0, 2);
        if (u(rng) < opt.quirkShare) {
            c.m_strTransformer = kOddOwners[static_cast<size_t>(u(rng) * 6) % 6];
        } else {
            c.m_strTransformer = L"T" + std::to_wstring(pickT(rng));
        }
        loads.Add(c);
    }
    for (int t = 1; t <= opt.transformers; ++t) {
        CTransformerCalData tr;
        tr.m_strName = L"T" + std::to_wstring(t);
        if (u(rng) < opt.quirkShare) {
            tr.m_strActualCompCapacity = Figure(rng, 0, 200, 0);
        }
        if (u(rng) < opt.quirkShare) {
            tr.m_strName = L"t" + std::to_wstring(t);  // letter case must not matter
        }
        transformers.Add(tr);
    }
}

}  // namespace loadcal::testsupport
