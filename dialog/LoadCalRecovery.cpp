// Crash recovery of the calculation dialog: the recovery copy of unsaved
// changes, written off the typing path, and the offer to restore a copy
// left by a window that did not end normally.
#include "dialog/LoadCalDiaog.h"
#include "dialog/LoadCalTexts.h"
#include "document/AtomicFile.h"
#include "document/DocumentError.h"
#include "document/InterDpData.h"
#include "document/RecoveryFiles.h"
#include "model/Text.h"

namespace loadcal {

void CLoadCalDiaog::OnRecoveryTimer(std::chrono::steady_clock::time_point now)
{
    if (m_bModified == 0) {
        RemoveRecoveryCopy();
        return;
    }
    const uint64_t changes = m_bModified.Changes();
    if (changes == m_nRecoveryAttempted) {
        return;
    }
    if (changes != m_nRecoverySeen) {
        if (m_nRecoverySeen == m_nRecoveryAttempted) {
            m_firstUnwrittenSeen = now;
        }
        m_nRecoverySeen = changes;
        m_lastChangeSeen = now;
    }
    if (now - m_lastChangeSeen >= kRecoveryQuiet ||
        now - m_firstUnwrittenSeen >= kRecoveryMaxDelay) {
        WriteRecoveryCopy();
    }
}

std::optional<std::wstring> CLoadCalDiaog::GetRecoveryCopyPath() const
{
    if (!m_pRecovery->HasCopy()) {
        return std::nullopt;
    }
    return FromFsPath(m_pRecovery->CopyPath());
}

void CLoadCalDiaog::WriteRecoveryCopy()
{
    m_nRecoveryAttempted = m_nRecoverySeen = m_bModified.Changes();
    try {
        m_pRecovery->Write(m_document, m_strFilePath);
    } catch (const DocumentError&) {
        // Not shown: a full disk is reported by the next save, and the next
        // change tries the copy again.
    }
}

void CLoadCalDiaog::RemoveRecoveryCopy()
{
    m_pRecovery->Remove();
}

void CLoadCalDiaog::OfferRecovery()
{
    for (const auto& left : m_pRecovery->ClaimLeftCopies()) {
        auto tree = std::make_unique<CInterDpData>();
        RecoveryRecord record;
        try {
            record = left->Read(*tree);
        } catch (const DocumentError&) {
            left->Discard();  // nothing in it can be restored
            continue;
        }
        const std::wstring document =
            record.documentPath.empty() ? std::wstring(texts::kUntitled) : record.documentPath;
        const int answer =
            MessageBox(texts::FormatText(texts::kRecoveryQuestionFormat, document, record.savedAt),
                       texts::kRecoveryCaption, MB_YESNO | MB_ICONQUESTION);
        if (answer == IDNO) {
            left->Discard();
            continue;
        }
        if (answer != IDYES) {
            continue;  // closed without an answer: offered again next time
        }
        // The restored document belongs to its file but is not saved in it:
        // modified before it is loaded, so that nothing takes the loaded
        // state for the saved one.
        m_pIdpData = std::move(tree);
        m_strFilePath = record.documentPath;
        m_bModified = 1;
        LoadDocument();
        SetDocumentTitle();
        // This window's own copy first, so that a crash right now still
        // finds the changes; the copy left behind goes once it is written.
        WriteRecoveryCopy();
        if (m_pRecovery->HasCopy()) {
            left->Discard();
        }
        return;
    }
}

}  // namespace loadcal
