// The command "生成计算书": menu and toolbar entry, the save dialog it asks,
// the writer it hands the records to, and the dialog that stays open.

#include <gtest/gtest.h>

#include <stdexcept>

#include "dialog/GridColumns.h"
#include "dialog/LoadCalResources.h"
#include "document/Archive.h"
#include "tests/dialog/ScriptedUi.h"

using namespace loadcal;
using namespace loadcal::test;

namespace {

/// Keeps what it was asked to write; throws or reports no viewer when told.
class RecordingWriter final : public ICalculationBookWriter {
public:
    struct Call {
        CLoadArray loads;
        CTransformerArray transformers;
        std::wstring documentPath;
        std::wstring path;
    };
    std::vector<Call> calls;
    bool shown = true;
    const char* failure = nullptr;

    bool WriteBook(const CLoadCalDocument& doc, const std::wstring& documentPath,
                   const std::wstring& path) override
    {
        if (failure) {
            throw std::runtime_error(failure);
        }
        calls.push_back({doc.loads, doc.transformers, documentPath, path});
        return shown;
    }
};

}  // namespace

TEST(CalculationBook, TheCommandStandsInTheFunctionsMenuAndOnTheToolbar)
{
    DialogFixture f;
    const CMenuModel& bar = f.dlg->GetMenuBar();
    const CMenuModel* functions = nullptr;
    for (const CMenuItem& item : bar.Items()) {
        if (item.kind == CMenuItem::Kind::Popup && item.text == L"功能(&C)") {
            functions = item.popup.get();
        }
    }
    ASSERT_NE(functions, nullptr);
    const int at = functions->FindId(res::ID_CALCULATION_BOOK);
    ASSERT_GE(at, 0);
    EXPECT_EQ(functions->Items()[static_cast<size_t>(at)].text, L"生成计算书(&B)");
    EXPECT_NE(std::find(res::kToolbarButtons.begin(), res::kToolbarButtons.end(),
                        res::ID_CALCULATION_BOOK),
              res::kToolbarButtons.end());
    EXPECT_EQ(f.dlg->OnToolTipText(res::ID_CALCULATION_BOOK), L"生成计算书");
    EXPECT_TRUE(f.dlg->IsCommandEnabled(res::ID_CALCULATION_BOOK));
    // The id is no other command's.
    for (unsigned id :
         {res::ID_FILE_NEW, res::ID_FILE_OPEN, res::ID_FILE_SAVE, res::ID_FILE_SAVE_AS,
          res::ID_FILE_RECENT, res::ID_FILE_EXIT, res::ID_OUTPUT_DRAWING, res::ID_OUTPUT_EXCEL,
          res::ID_ADJUST_PHASES, res::ID_ABOUT, res::ID_LOAD_CUT, res::ID_LOAD_COPY,
          res::ID_LOAD_PASTE, res::ID_LOAD_DELETE, res::ID_TRANSFORMER_CUT,
          res::ID_TRANSFORMER_COPY, res::ID_TRANSFORMER_PASTE, res::ID_TRANSFORMER_DELETE}) {
        EXPECT_NE(id, res::ID_CALCULATION_BOOK);
    }
}

TEST(CalculationBook, TheBookOfTheRecordsAsTheyStandIsWrittenAndTheDialogStaysOpen)
{
    DialogFixture f;
    RecordingWriter writer;
    f.dlg->SetBookWriter(&writer);
    f.AddTransformer(L"T1");
    f.AddCircuit(L"水泵", L"L1,L2,L3,N", L"15");
    f.Own(1, {L"T1"});

    // Untitled: the save dialog proposes 未命名.pdf; cancelling writes nothing.
    f.dlg->OnCommand(res::ID_CALCULATION_BOOK);
    ASSERT_EQ(f.ui.saveDialogs.size(), 1u);
    EXPECT_EQ(f.ui.saveDialogs[0].initialName, L"未命名.pdf");
    EXPECT_EQ(f.ui.saveDialogs[0].defaultExtension, L"pdf");
    EXPECT_NE(f.ui.saveDialogs[0].filter.find(L"*.pdf"), std::wstring::npos);
    EXPECT_TRUE(writer.calls.empty());

    // After Save As the archive's name is proposed; unsaved edits go into the book.
    f.SaveAsIn("配电.LDC");
    f.Type(GridId::Load, 1, 5, L"30");
    ASSERT_TRUE(f.dlg->IsModified());
    const std::wstring book = f.folder.File("书.pdf");
    f.ui.saveAnswers.push_back(book);
    f.dlg->OnCommand(res::ID_CALCULATION_BOOK);
    EXPECT_EQ(f.ui.saveDialogs.back().initialName, L"配电.pdf");
    ASSERT_EQ(writer.calls.size(), 1u);
    EXPECT_EQ(writer.calls[0].path, book);
    EXPECT_EQ(writer.calls[0].documentPath, f.folder.File("配电.LDC"));
    EXPECT_EQ(writer.calls[0].loads, f.dlg->GetLoads());
    EXPECT_EQ(writer.calls[0].transformers, f.dlg->GetTransformers());
    EXPECT_EQ(writer.calls[0].loads[0].m_strRatedPower, L"30");
    EXPECT_EQ(f.ui.status, L"已写入 " + book);

    // Unlike the output commands: no save question, no end, no output mode.
    EXPECT_TRUE(f.ui.boxes.empty());
    EXPECT_TRUE(f.ui.endResults.empty());
    EXPECT_FALSE(f.dlg->GetEndResult().has_value());
    EXPECT_EQ(f.dlg->GetOutputMode(), 0);
    EXPECT_TRUE(f.dlg->IsModified());
}

TEST(CalculationBook, AFailureOrAMissingViewerIsToldAndTheDialogStaysOpen)
{
    DialogFixture f;
    RecordingWriter writer;
    f.dlg->SetBookWriter(&writer);
    writer.failure = "cannot write \"/x/书.pdf\": No space left on device";
    f.ui.saveAnswers.push_back(L"/x/书.pdf");
    f.dlg->OnCommand(res::ID_CALCULATION_BOOK);
    ASSERT_EQ(f.ui.boxes.size(), 1u);
    EXPECT_EQ(f.ui.boxes[0].text,
              L"计算书 \"/x/书.pdf\" 没有生成（No space left on device）\n原有的文件保持不变。");
    EXPECT_EQ(f.ui.status, L"");
    EXPECT_EQ(f.ui.boxes[0].style, MB_OK | MB_ICONEXCLAMATION);

    writer.failure = nullptr;
    writer.shown = false;
    f.ui.saveAnswers.push_back(L"/x/书.pdf");
    f.dlg->OnCommand(res::ID_CALCULATION_BOOK);
    ASSERT_EQ(f.ui.boxes.size(), 2u);
    EXPECT_EQ(f.ui.boxes[1].text, L"计算书已生成，但没有可以打开 PDF 文件的程序：\n/x/书.pdf");
    EXPECT_TRUE(f.ui.endResults.empty());
}

TEST(CalculationBook, StaleFiguresAreRecalculatedAsOneStepBeforeTheBookIsWritten)
{
    DialogFixture f;
    RecordingWriter writer;
    f.dlg->SetBookWriter(&writer);
    f.AddTransformer(L"T1");
    f.AddCircuit(L"水泵", L"L1,L2,L3,N", L"15");
    f.AddCircuit(L"照明", L"L2,N", L"4");
    f.Own(1, {L"T1"});
    f.Own(2, {L"T1"});
    const CLoadCalDocument good = f.dlg->GetDocument();
    ASSERT_FALSE(f.dlg->HasStaleFigures());

    // A file whose figures were edited by hand, opened as it is.
    CLoadCalDocument stale = good;
    stale.loads[0].m_strCalcP = L"180";
    stale.transformers[0].m_strRatedCapacity = L"2500";
    const std::wstring path = f.folder.File("stale.LDC");
    SaveArchiveFile(path, stale);
    f.SaveAsIn("good.LDC");
    f.ui.boxes.clear();
    f.ui.openAnswers.push_back(path);
    f.ui.boxAnswers = {IDNO};
    f.dlg->OnFileOpen();
    ASSERT_EQ(f.dlg->GetDocument(), stale);
    ASSERT_FALSE(f.dlg->CanUndo());

    // Cancelling the file dialog leaves the figures as they are.
    f.dlg->OnCommand(res::ID_CALCULATION_BOOK);
    EXPECT_TRUE(writer.calls.empty());
    EXPECT_EQ(f.dlg->GetDocument(), stale);
    EXPECT_FALSE(f.dlg->CanUndo());

    // The book holds the recalculated figures, and so do the grids.
    f.ui.saveAnswers.push_back(f.folder.File("书.pdf"));
    f.dlg->OnCommand(res::ID_CALCULATION_BOOK);
    ASSERT_EQ(writer.calls.size(), 1u);
    EXPECT_EQ(writer.calls[0].loads, good.loads);
    EXPECT_EQ(writer.calls[0].transformers, good.transformers);
    EXPECT_EQ(f.dlg->GetDocument(), good);
    const int calcP = GridColumnOfField(GridId::Load, CLoadCalData::kCalcP);
    const int rated = GridColumnOfField(GridId::Transformer, CTransformerCalData::kRatedCapacity);
    EXPECT_EQ(f.Load().GetItemText(1, calcP), good.loads[0].m_strCalcP);
    EXPECT_EQ(f.Transformers().GetItemText(1, rated), good.transformers[0].m_strRatedCapacity);
    EXPECT_TRUE(f.dlg->IsModified());

    // One undo step takes the recalculation back, to the file as opened.
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), 1u);
    f.dlg->OnEditUndo();
    EXPECT_EQ(f.dlg->GetDocument(), stale);
    EXPECT_FALSE(f.dlg->IsModified());
    EXPECT_EQ(f.Load().GetItemText(1, calcP), L"180");

    // A document whose figures are right gets its book without a step.
    f.dlg->OnEditRedo();
    f.ui.saveAnswers.push_back(f.folder.File("书2.pdf"));
    f.dlg->OnCommand(res::ID_CALCULATION_BOOK);
    ASSERT_EQ(writer.calls.size(), 2u);
    EXPECT_EQ(writer.calls[1].loads, good.loads);
    EXPECT_EQ(f.dlg->GetHistory().GetUndoCount(), 1u);
    EXPECT_FALSE(f.dlg->CanRedo());
}
