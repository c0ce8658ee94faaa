// The phase-balancing command: grouping by owner text, the single-phase test,
// small groups given the phases in turn, the report and what it writes back, and the
// command line's window-less host.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "balancing/BalancingTexts.h"
#include "balancing/HeadlessPhaseBalanceHost.h"
#include "balancing/PhaseBalancing.h"
#include "balancing/Random.h"
#include "model/Calculation.h"
#include "model/Errors.h"
#include "model/Text.h"

using namespace loadcal;

namespace {

/// Records what the command asks of the window, in order.
class CRecordingWindow : public IPhaseBalanceHost {
public:
    std::wstring GetTitle() const override { return L"负荷计算"; }
    void SetTitle(const std::wstring&) override {}
    void SetPhaseCell(int record, const std::wstring& phase) override
    {
        cells.emplace_back(record, phase);
    }
    void ShowReport(const std::wstring& report) override
    {
        reports.push_back(report);
        calls.push_back(L"report");
    }
    void RefreshTotalCell(int column) override
    {
        calls.push_back(L"total " + std::to_wstring(column));
    }
    void RecalculateAllTransformers() override { calls.push_back(L"transformers"); }
    void RefreshLoadGrid() override { calls.push_back(L"grid"); }

    std::vector<std::pair<int, std::wstring>> cells;
    std::vector<std::wstring> reports;
    std::vector<std::wstring> calls;
};

const std::vector<std::wstring> kClosingCalls = {L"report",   L"total 5",      L"total 8",
                                                 L"total 9",  L"total 10",     L"total 11",
                                                 L"total 12", L"transformers", L"grid"};

CStringArray PhaseList()
{
    return CStringArray{L"L1,N", L"L2,N", L"L3,N", L"L1,L2,L3,N"};
}

CLoadCalData Circuit(const std::wstring& owner, const std::wstring& phase,
                     const std::wstring& current)
{
    CLoadCalData c;
    c.m_strTransformer = owner;
    c.m_strPhase = phase;
    c.m_strCalcI = current;
    return c;
}

PhaseBalancingResult Balance(CLoadArray& loads, IPhaseBalanceHost& window)
{
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    return RunPhaseBalancing(loads, PhaseList(), *search, kPhaseSearchGenerations, window);
}

bool IsSinglePhaseText(const std::wstring& phase)
{
    return phase == L"L1,N" || phase == L"L2,N" || phase == L"L3,N";
}

}  // namespace

TEST(PhaseBalancing, WithoutCircuitsShowsAnEmptyReportAndStillRecalculates)
{
    CLoadArray loads;
    CRecordingWindow window;
    const PhaseBalancingResult result = Balance(loads, window);
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(window.reports, std::vector<std::wstring>{L""});
    EXPECT_EQ(window.calls, kClosingCalls);
}

TEST(PhaseBalancing, TheWorkedCaseReportsThirtyAndTwiceTwentyToTheCharacter)
{
    // Four single-phase circuits of 10 A and one three-phase circuit of 30 A.
    CLoadArray loads;
    for (int i = 0; i < 4; ++i) {
        loads.Add(Circuit(L"T1", L"L1,N", L"10"));
    }
    loads.Add(Circuit(L"T1", L"L1,L2,L3,N", L"30"));
    CRecordingWindow window;
    const PhaseBalancingResult result = Balance(loads, window);

    int count[3] = {0, 0, 0};
    for (int r = 0; r < 4; ++r) {
        const std::wstring& phase = loads[r].m_strPhase;
        ASSERT_TRUE(IsSinglePhaseText(phase)) << r;
        ++count[phase[1] - L'1'];
    }
    EXPECT_EQ(loads[4].m_strPhase, L"L1,L2,L3,N");
    std::wstring amps[3];
    int thirty = 0;
    for (int p = 0; p < 3; ++p) {
        ASSERT_TRUE(count[p] == 1 || count[p] == 2) << "the best split is 2 / 1 / 1";
        amps[p] = count[p] == 2 ? L"30.00" : L"20.00";
        thirty += count[p] == 2 ? 1 : 0;
    }
    EXPECT_EQ(thirty, 1);
    const std::wstring expected = L"变压器T1\nL1,N项电流为: " + amps[0] + L"\nL2,N项电流为: " +
                                  amps[1] + L"\nL3,N项电流为: " + amps[2] + L"\n\n";
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(result.report, expected);
    EXPECT_EQ(window.reports, std::vector<std::wstring>{expected});
    EXPECT_EQ(window.calls, kClosingCalls);
}

TEST(PhaseBalancing, ReportBlockIsPrintfWithTwoDecimalsRoundedAlikeInAnyLocale)
{
    const double currents[3] = {12.5, 12.25, 13};
    const std::wstring expected =
        L"变压器T1\nL1,N项电流为: 12.50\nL2,N项电流为: 12.25\nL3,N项电流为: 13.00";
    EXPECT_EQ(FormatPhaseReportBlock(L"T1", PhaseList(), currents), expected);
    const double halves[3] = {0.125, 2.675, -0.004};
    EXPECT_EQ(FormatPhaseReportBlock(L"", PhaseList(), halves),
              L"变压器\nL1,N项电流为: 0.12\nL2,N项电流为: 2.67\nL3,N项电流为: -0.00");

    const std::string previous = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_NUMERIC, "C");
    CRandom random(11);
    for (int i = 0; i < 2000; ++i) {
        const double value =
            static_cast<double>(static_cast<std::int64_t>(random.Next() % 20000001) - 10000000) /
            static_cast<double>(1 + random.Below(4000));
        wchar_t buffer[64];
        std::swprintf(buffer, 64, L"%.2f", value);
        ASSERT_EQ(FormatText(L"%.2f", {value}), buffer) << value;
    }
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr)
        << "the de_DE.UTF-8 locale is missing; scripts/setup.sh generates it";
    const std::wstring inGerman = FormatPhaseReportBlock(L"T1", PhaseList(), currents);
    std::setlocale(LC_ALL, previous.c_str());
    EXPECT_EQ(inGerman, expected);
}

TEST(PhaseBalancing, AGroupOfThreeGetsThePhasesInTurnAndTheRunGoesOnToLaterGroups)
{
    // A chiller-only transformer before a lighting transformer: the small
    // group no longer stops the run.
    CLoadArray loads;
    for (int i = 0; i < 3; ++i) {
        loads.Add(Circuit(L"T1", L"L3,N", L"5"));
    }
    loads.Add(Circuit(L"T1", L"L1,L2,L3,N", L"30"));
    for (int i = 0; i < 10; ++i) {
        loads.Add(Circuit(L"T2", L"L1,N", std::to_wstring(i + 1)));
    }
    CRecordingWindow window;
    const PhaseBalancingResult result = Balance(loads, window);

    EXPECT_TRUE(result.completed);
    EXPECT_EQ(loads[0].m_strPhase, L"L1,N");
    EXPECT_EQ(loads[1].m_strPhase, L"L2,N");
    EXPECT_EQ(loads[2].m_strPhase, L"L3,N");
    EXPECT_EQ(loads[3].m_strPhase, L"L1,L2,L3,N");
    // The ten circuits of T2 (55 A in all) were spread: no phase keeps them all.
    double perPhase[3] = {0, 0, 0};
    for (int r = 4; r < 14; ++r) {
        ASSERT_TRUE(IsSinglePhaseText(loads[r].m_strPhase)) << r;
        perPhase[loads[r].m_strPhase[1] - L'1'] += std::stod(loads[r].m_strCalcI);
    }
    for (double amps : perPhase) {
        EXPECT_GT(amps, 10.0);
        EXPECT_LT(amps, 25.0);
    }
    // One report naming both groups, T1's with 5 A + 10 A on each phase.
    ASSERT_EQ(window.reports.size(), 1U);
    const std::wstring& report = window.reports[0];
    const double t1[3] = {15, 15, 15};
    EXPECT_NE(
        report.find(FormatPhaseReportBlock(L"T1", PhaseList(), t1) + std::wstring(kSmallGroupNote)),
        std::wstring::npos)
        << report.size();
    EXPECT_NE(report.find(L"变压器T2"), std::wstring::npos);
    EXPECT_EQ(window.calls, kClosingCalls);
}

TEST(PhaseBalancing, AGroupWithoutSinglePhaseCircuitsIsSkippedAndLeftOutOfTheReport)
{
    CLoadArray loads;
    loads.Add(Circuit(L"T1", L"L1,L2,L3,N", L"40"));
    for (int i = 0; i < 6; ++i) {
        loads.Add(Circuit(L"T2", L"L2,N", L"7"));
    }
    CRecordingWindow window;
    EXPECT_TRUE(Balance(loads, window).completed);
    EXPECT_EQ(loads[0].m_strPhase, L"L1,L2,L3,N");
    int moved = 0;
    for (int r = 1; r < 7; ++r) {
        moved += loads[r].m_strPhase != L"L2,N" ? 1 : 0;
    }
    EXPECT_EQ(moved, 4);  // six equal currents: two on each phase
    ASSERT_EQ(window.reports.size(), 1U);
    EXPECT_EQ(window.reports[0].find(L"变压器T1"), std::wstring::npos);
    EXPECT_NE(window.reports[0].find(L"变压器T2"), std::wstring::npos);
}

TEST(PhaseBalancing, AnyTextButTheExactThreePhaseTextIsSinglePhaseAndGetsABalancedPhase)
{
    CLoadArray loads;
    loads.Add(Circuit(L"T1", L"l1,n", L"8"));
    loads.Add(Circuit(L"T1", L"L1,L2,L3,N ", L"8"));
    loads.Add(Circuit(L"T1", L"", L"8"));
    loads.Add(Circuit(L"T1", L" L2,N", L"8"));
    loads.Add(Circuit(L"T1", L"l1,l2,l3,n", L"8"));
    loads.Add(Circuit(L"T1", L"L3,N", L"8"));
    loads.Add(Circuit(L"T1", L"L1,L2,L3,N", L"12"));
    CRecordingWindow window;
    const PhaseBalancingResult result = Balance(loads, window);

    int count[3] = {0, 0, 0};
    for (int r = 0; r < 6; ++r) {
        ASSERT_TRUE(IsSinglePhaseText(loads[r].m_strPhase)) << r;
        ++count[loads[r].m_strPhase[1] - L'1'];
    }
    EXPECT_EQ(count[0], 2);
    EXPECT_EQ(count[1], 2);
    EXPECT_EQ(count[2], 2);
    EXPECT_EQ(loads[6].m_strPhase, L"L1,L2,L3,N");
    // Six records written back and shown; the three-phase one is not touched.
    ASSERT_EQ(window.cells.size(), 6u);
    for (int r = 0; r < 6; ++r) {
        EXPECT_EQ(window.cells[static_cast<size_t>(r)], std::make_pair(r, loads[r].m_strPhase));
    }
    // 16 A on each phase plus a third of the 12 A three-phase circuit.
    EXPECT_EQ(result.report,
              L"变压器T1\nL1,N项电流为: 20.00\nL2,N项电流为: 20.00\nL3,N项电流为: 20.00\n\n");
}

TEST(PhaseBalancing, GroupsByTheExactOwnerTextInOrderOfFirstAppearance)
{
    CLoadArray loads;
    for (int i = 0; i < 4; ++i) {
        loads.Add(Circuit(L"T1", L"L1,N", L"6"));
        loads.Add(Circuit(L"T1,T2", L"L1,N", L"3"));
        loads.Add(Circuit(L"t1", L"L1,N", L"9"));
    }
    loads.Add(Circuit(L"T1", L"L1,N", L"6"));
    loads.Add(Circuit(L"T1", L"L1,N", L"6"));
    CRecordingWindow window;
    const PhaseBalancingResult result = Balance(loads, window);

    // Six circuits of 6 A split evenly; four of 3 A (and of 9 A) at best 2 / 1 / 1.
    const auto block = [](const std::wstring& name, const std::wstring& a, const std::wstring& b,
                          const std::wstring& c) {
        return L"变压器" + name + L"\nL1,N项电流为: " + a + L"\nL2,N项电流为: " + b +
               L"\nL3,N项电流为: " + c + L"\n\n";
    };
    const auto anyOf = [&](const std::wstring& name, const std::wstring& two,
                           const std::wstring& one) {
        return std::vector<std::wstring>{block(name, two, one, one), block(name, one, two, one),
                                         block(name, one, one, two)};
    };
    bool found = false;
    for (const std::wstring& joined : anyOf(L"T1,T2", L"6.00", L"3.00")) {
        for (const std::wstring& lower : anyOf(L"t1", L"18.00", L"9.00")) {
            found = found ||
                    result.report == block(L"T1", L"12.00", L"12.00", L"12.00") + joined + lower;
        }
    }
    EXPECT_TRUE(result.completed);
    EXPECT_TRUE(found) << "report:\n" << std::string(result.report.begin(), result.report.end());
    EXPECT_EQ(window.cells.size(), static_cast<size_t>(loads.GetSize()));
}

TEST(PhaseBalancing, APhaseListShorterThanThreeIsAnInvalidArgument)
{
    CLoadArray loads;
    for (int i = 0; i < 5; ++i) {
        loads.Add(Circuit(L"T1", L"L1,N", L"4"));
    }
    CRecordingWindow window;
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    const CStringArray two = {L"L1,N", L"L2,N"};
    EXPECT_THROW(RunPhaseBalancing(loads, two, *search, 50, window), CInvalidArgException);
}

TEST(HeadlessPhaseBalanceHost, CapturesTheReportAndRecalculatesTheTransformers)
{
    CLoadArray loads;
    for (int i = 0; i < 6; ++i) {
        CLoadCalData c = Circuit(L"T1", L"L1,N", L"");
        c.m_strRatedPower = std::to_wstring(2 + i);
        c.m_strVoltage = L"0.22";
        c.Calculate();
        loads.Add(c);
    }
    CTransformerArray transformers;
    CTransformerCalData t;
    t.m_strName = L"T1";
    transformers.Add(t);
    // All six circuits on L1 is unbalanced: the transformer sees 3 x the L1 sum.
    RecalculateAllTransformers(loads, transformers);
    const CTransformerArray unbalanced = transformers;

    CHeadlessPhaseBalanceHost host(loads, transformers);
    EXPECT_EQ(host.GetTitle(), L"");
    EXPECT_FALSE(host.ReportShown());
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    const PhaseBalancingResult result =
        RunPhaseBalancing(loads, PhaseList(), *search, kPhaseSearchGenerations, host);

    EXPECT_TRUE(host.ReportShown());
    EXPECT_EQ(host.Report(), result.report);
    CTransformerArray expected = transformers;
    RecalculateAllTransformers(loads, expected);
    EXPECT_EQ(transformers, expected);
    EXPECT_NE(transformers, unbalanced);
}

TEST(PhaseBalancing, ABoardsGroupIsReportedAsTheBoardAndTheDocumentHostRecalculatesItsTree)
{
    // Six lighting circuits on L1 under board AL1, which a riser under T1
    // feeds; two more straight on T1. The board is named as a board in the
    // report, T1 as a transformer, and the document's host recalculates the
    // board, the riser and T1 under the GB 51348-2019 rules.
    CLoadCalDocument doc;
    doc.rules = CalcRules::GB51348_2019;
    for (int i = 0; i < 8; ++i) {
        CLoadCalData c = Circuit(i < 6 ? L"al1" : L"T1", L"L1,N", L"");
        c.m_strRatedPower = std::to_wstring(2 + i);
        c.m_strVoltage = L"0.22";
        RecalculateCircuit(c, doc.rules);
        doc.loads.Add(c);
    }
    CBoardCalData riser;
    riser.m_strName = L"ALZ";
    riser.m_strOwner = L"T1";
    CBoardCalData board;
    board.m_strName = L"AL1";
    board.m_strOwner = L"ALZ";
    doc.boards.Add(riser);
    doc.boards.Add(board);
    CTransformerCalData t;
    t.m_strName = L"T1";
    doc.transformers.Add(t);
    RecalculateDocument(doc);
    const CLoadCalDocument unbalanced = doc;

    CHeadlessPhaseBalanceHost host(doc);
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    const PhaseBalancingResult result = RunPhaseBalancing(
        doc.loads, PhaseList(), *search, kPhaseSearchGenerations, host, doc.boards);

    EXPECT_EQ(result.report.find(L"配电箱al1\n"), 0U) << ToUtf8(result.report);
    EXPECT_NE(result.report.find(L"变压器T1\n"), std::wstring::npos);
    EXPECT_EQ(result.report.find(L"变压器al1"), std::wstring::npos);
    CLoadCalDocument whole = doc;
    RecalculateDocument(whole);
    EXPECT_EQ(doc, whole);
    // Spread over three phases, the board's and the riser's figures moved.
    EXPECT_NE(doc.boards[1].m_strCalcI, unbalanced.boards[1].m_strCalcI);
    EXPECT_NE(doc.transformers[0].m_strCalcP, unbalanced.transformers[0].m_strCalcP);
}

TEST(PhaseBalancing, AGroupNamingABoardAndATransformerStaysATransformersGroup)
{
    CBoardArray boards;
    CBoardCalData b;
    b.m_strName = L"AP1";
    boards.Add(b);
    CLoadArray loads;
    loads.Add(Circuit(L"AP1,T2", L"L2,N", L"3"));
    loads.Add(Circuit(L"AP1", L"L2,N", L"3"));
    CRecordingWindow window;
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    const PhaseBalancingResult result =
        RunPhaseBalancing(loads, PhaseList(), *search, kPhaseSearchGenerations, window, boards);
    EXPECT_EQ(result.report.find(L"变压器AP1,T2\n"), 0U) << ToUtf8(result.report);
    EXPECT_NE(result.report.find(L"配电箱AP1\n"), std::wstring::npos);
}

TEST(PhaseBalancing, ASinglePhaseBoardsCircuitsStayOnItsPhase)
{
    // A lighting board on L2 feeds L2 alone: its five circuits are not
    // spread over three phases, and the report says why.
    CBoardArray boards;
    CBoardCalData board;
    board.m_strName = L"2AL";
    board.m_strPhase = L"L2,N";
    boards.Add(board);
    CLoadArray loads;
    for (int i = 0; i < 5; ++i) {
        loads.Add(Circuit(L"2al", L"L2,N", std::to_wstring(3 + i)));
    }
    const CLoadArray before = loads;
    CRecordingWindow window;
    const std::unique_ptr<CExtremum> search = CreatePhaseSearch();
    const PhaseBalancingResult result =
        RunPhaseBalancing(loads, PhaseList(), *search, kPhaseSearchGenerations, window, boards);
    EXPECT_EQ(loads, before);
    EXPECT_TRUE(window.cells.empty());
    EXPECT_EQ(result.report, L"配电箱2al\n单相配电箱(L2,N),其回路不调整相位\n\n");
}
