#include "dialog/EditHistory.h"

namespace loadcal {
void CEditHistory::Clear(bool clean)
{
    m_steps.clear();
    m_nPos = 0;
    m_nDropped = 0;
    m_saved = clean ? std::optional<size_t>(0) : std::nullopt;
}

void CEditHistory::Push(CDocumentStep step)
{
    if (step.IsEmpty()) {
        return;
    }
    m_steps.erase(m_steps.begin() + static_cast<std::ptrdiff_t>(m_nPos), m_steps.end());
    if (m_saved && *m_saved > m_nDropped + m_nPos) {
        m_saved.reset();  // the saved state was among the dropped redo steps
    }
    m_steps.push_back(std::move(step));
    ++m_nPos;
    if (m_steps.size() > kMaxSteps) {
        m_steps.pop_front();
        --m_nPos;
        ++m_nDropped;
    }
}

const CDocumentStep* CEditHistory::Undo()
{
    if (!CanUndo()) {
        return nullptr;
    }
    --m_nPos;
    return &m_steps[m_nPos];
}

const CDocumentStep* CEditHistory::Redo()
{
    if (!CanRedo()) {
        return nullptr;
    }
    return &m_steps[m_nPos++];
}

}  // namespace loadcal
