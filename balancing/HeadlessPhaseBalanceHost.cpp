#include "balancing/HeadlessPhaseBalanceHost.h"

#include "model/Calculation.h"
#include "model/SupplyIndex.h"

namespace loadcal {

void CHeadlessPhaseBalanceHost::RecalculateAllTransformers()
{
    if (m_pDocument) {
        // The boards bottom-up, then the transformers over them.
        CSupplyIndex(*m_pDocument).RecalculateGroups(*m_pDocument);
    } else {
        loadcal::RecalculateAllTransformers(m_loads, m_transformers);
    }
}

}  // namespace loadcal
