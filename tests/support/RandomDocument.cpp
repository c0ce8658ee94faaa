#include "tests/support/RandomDocument.h"

#include <algorithm>
#include <string>
#include <vector>

#include "model/Numeric.h"

namespace loadcal::testsupport {
namespace {

std::wstring Figure(std::mt19937& rng, double lo, double hi, int decimals)
{
    std::uniform_real_distribution<double> d(lo, hi);
    const double scale = std::pow(10.0, decimals);
    return FormatG(std::round(d(rng) * scale) / scale);
}

/// The text with its letters in the other case ("AP3" -> "ap3").
std::wstring FoldOrUpper(std::wstring text)
{
    for (auto& c : text) {
        if (c >= L'A' && c <= L'Z') {
            c = static_cast<wchar_t>(c - L'A' + L'a');
        } else if (c >= L'a' && c <= L'z') {
            c = static_cast<wchar_t>(c - L'a' + L'A');
        }
    }
    return text;
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

void MakeRandomBoardDocument(std::mt19937& rng, const RandomBoardOptions& opt,
                             CLoadCalDocument& doc)
{
    RandomDocumentOptions base;
    base.circuits = opt.circuits;
    base.transformers = opt.transformers;
    base.quirkShare = opt.quirkShare;
    MakeRandomDocument(rng, base, doc.loads, doc.transformers);
    doc.rules = opt.rules;
    doc.boards.RemoveAll();
    std::uniform_real_distribution<double> u(0, 1);
    const auto pick = [&rng](const std::vector<std::wstring>& v) {
        return v[static_cast<size_t>(rng() % v.size())];
    };
    std::vector<std::wstring> transformerNames;
    for (const auto& t : doc.transformers) {
        transformerNames.push_back(t.m_strName);
    }
    if (transformerNames.empty()) {
        transformerNames.push_back(L"T1");
    }
    // Boards level by level; each names owners of the level above.
    std::vector<std::vector<std::wstring>> levels(static_cast<size_t>(std::max(1, opt.levels)));
    std::vector<CBoardCalData> boards;
    static const wchar_t* const kOddPhases[] = {L"L1,N", L"L2,N", L"L3,N", L"l1,n", L""};
    for (int i = 0; i < opt.boards; ++i) {
        const size_t level =
            static_cast<size_t>(i) * levels.size() / static_cast<size_t>(opt.boards);
        CBoardCalData b;
        b.m_strName = L"AP" + std::to_wstring(i + 1);
        const std::vector<std::wstring>& above = level == 0 ? transformerNames : levels[level - 1];
        const std::vector<std::wstring>& owners = above.empty() ? transformerNames : above;
        std::wstring owner = pick(owners);
        if (u(rng) < opt.quirkShare) {
            owner += L"," + pick(owners);  // dual-fed (possibly twice the same)
        }
        if (u(rng) < opt.quirkShare / 2) {
            owner = FoldOrUpper(owner);
        }
        if (u(rng) < opt.quirkShare / 3) {
            owner = u(rng) < 0.5 ? L"" : L"无此箱";
        }
        b.m_strOwner = owner;
        if (u(rng) < opt.quirkShare) {
            b.m_strPhase = kOddPhases[rng() % 5];
        }
        b.m_strKp = Figure(rng, 0.7, 1.0, 2);
        b.m_strKq = Figure(rng, 0.8, 1.0, 2);
        levels[level].push_back(b.m_strName);
        boards.push_back(b);
    }
    if (opt.shuffle) {
        std::shuffle(boards.begin(), boards.end(), rng);
    }
    for (auto& b : boards) {
        doc.boards.Add(std::move(b));
    }
    // Circuits: most on boards, some straight on transformers, a few odd.
    std::vector<std::wstring> boardNames;
    for (const auto& b : doc.boards) {
        boardNames.push_back(b.m_strName);
    }
    for (auto& c : doc.loads) {
        if (boardNames.empty() || u(rng) < 0.15) {
            continue;  // keeps the generator's transformer owner (quirks included)
        }
        std::wstring owner = pick(boardNames);
        if (u(rng) < opt.quirkShare) {
            owner += L"," + (u(rng) < 0.5 ? pick(boardNames) : pick(transformerNames));
        }
        if (u(rng) < opt.quirkShare / 2) {
            owner = FoldOrUpper(owner);
        }
        c.m_strTransformer = owner;
    }
    static const wchar_t* const kClasses[] = {L"一级中特别重要", L"一级", L"二级", L"三级",
                                              L"一级",           L"二级", L"三级", L"甲级"};
    for (auto& c : doc.loads) {
        if (opt.fireShare > 0 && u(rng) < opt.fireShare) {
            c.m_strFire = rng() % 2 == 0 ? L"消防" : L"火灾时切除";
        }
        if (opt.classShare > 0 && u(rng) < opt.classShare) {
            c.m_strLoadClass = kClasses[rng() % 8];
        }
    }
}

void MakeLargestBoardDocument(CLoadCalDocument& doc, double fireShare, double classShare)
{
    std::mt19937 rng(2000);
    RandomBoardOptions opt;
    opt.circuits = 32767;
    opt.transformers = 100;
    opt.boards = 2000;
    opt.levels = 6;
    opt.quirkShare = 0.02;
    opt.fireShare = fireShare;
    opt.classShare = classShare;
    MakeRandomBoardDocument(rng, opt, doc);
}

}  // namespace loadcal::testsupport
