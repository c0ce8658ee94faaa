#include "balancing/HeadlessPhaseBalanceHost.h"

#include "model/Calculation.h"

namespace loadcal {

void CHeadlessPhaseBalanceHost::RecalculateAllTransformers()
{
    loadcal::RecalculateAllTransformers(m_loads, m_transformers);
}

}  // namespace loadcal
