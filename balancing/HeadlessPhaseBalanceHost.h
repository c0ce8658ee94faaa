#pragma once

#include <string>

#include "balancing/PhaseBalanceHost.h"
#include "model/Document.h"
#include "model/Records.h"

namespace loadcal {

/// The phase-balancing host of the command line: there is no window, so the
/// title reads empty and is not kept, phase cells and the load grid need no
/// drawing, and the total row is not kept either. The report is captured for
/// the caller to print. Given the two lists, the transformers are recalculated
/// by the original arithmetic; given a whole document, its boards and
/// transformers are recalculated under its rule set. It borrows what it is
/// given, which must outlive it.
class CHeadlessPhaseBalanceHost : public IPhaseBalanceHost {
public:
    CHeadlessPhaseBalanceHost(const CLoadArray& loads, CTransformerArray& transformers)
        : m_loads(loads), m_transformers(transformers)
    {}
    explicit CHeadlessPhaseBalanceHost(CLoadCalDocument& doc)
        : m_loads(doc.loads), m_transformers(doc.transformers), m_pDocument(&doc)
    {}

    std::wstring GetTitle() const override { return std::wstring(); }
    void SetTitle(const std::wstring&) override {}
    void SetPhaseCell(int, const std::wstring&) override {}
    void ShowReport(const std::wstring& report) override
    {
        m_strReport = report;
        m_bReportShown = true;
    }
    void RefreshTotalCell(int) override {}
    void RecalculateAllTransformers() override;
    void RefreshLoadGrid() override {}

    /// The report of the last run that got to the end, and whether there was one.
    const std::wstring& Report() const { return m_strReport; }
    bool ReportShown() const { return m_bReportShown; }

private:
    const CLoadArray& m_loads;
    CTransformerArray& m_transformers;
    CLoadCalDocument* m_pDocument = nullptr;
    std::wstring m_strReport;
    bool m_bReportShown = false;
};

}  // namespace loadcal
