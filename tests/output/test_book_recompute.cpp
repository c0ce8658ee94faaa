// Every formula line of the calculation book lets a reviewer recompute its
// result: the figures put into a step, evaluated as printed, give the printed
// result within what their rounding allows. Checked on random documents with a
// small evaluator of the printed arithmetic of its own.

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "model/Calculation.h"
#include "model/Document.h"
#include "model/Numeric.h"
#include "model/Text.h"
#include "output/report/BookContent.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

namespace {

/// A printed figure: its value and half a unit of its last decimal (0 for a
/// figure taken as exact: an integer, or the constant 0.38 kV).
struct Literal {
    double value;
    double halfUnit;
};

/// Evaluates printed arithmetic: numbers, + − × /, parentheses, √( ), √3, max( , ),
/// a trailing ² and a percentage sign. The literals are collected on a first
/// pass and can be replaced on later ones, to see how the result moves.
class CPrinted {
public:
    explicit CPrinted(std::wstring text) : m_text(std::move(text)) {}

    /// The value with the literals as given (or as read, when empty); nothing
    /// when the text is not arithmetic.
    std::optional<double> Evaluate(const std::vector<double>* values = nullptr)
    {
        m_pos = 0;
        m_next = 0;
        m_values = values;
        m_ok = true;
        if (!values) {
            m_literals.clear();
        }
        const double v = Expression();
        Blanks();
        if (!m_ok || m_pos != m_text.size()) {
            return std::nullopt;
        }
        return v;
    }
    const std::vector<Literal>& Literals() const { return m_literals; }

private:
    void Blanks()
    {
        while (m_pos < m_text.size() && m_text[m_pos] == L' ') {
            ++m_pos;
        }
    }
    bool Take(std::wstring_view token)
    {
        Blanks();
        if (m_text.compare(m_pos, token.size(), token) == 0) {
            m_pos += token.size();
            return true;
        }
        return false;
    }
    double Expression()
    {
        double v = Term();
        while (m_ok) {
            if (Take(L"+")) {
                v += Term();
            } else if (Take(L"−")) {
                v -= Term();
            } else {
                break;
            }
        }
        return v;
    }
    double Term()
    {
        double v = Power();
        while (m_ok) {
            if (Take(L"×")) {
                v *= Power();
            } else if (Take(L"/")) {
                v /= Power();
            } else {
                break;
            }
        }
        return v;
    }
    double Power()
    {
        double v = Unit();
        if (Take(L"²")) {
            v *= v;
        }
        if (Take(L"%")) {
            v /= 100;
        }
        return v;
    }
    double Unit()
    {
        if (Take(L"√(")) {
            const double v = std::sqrt(Expression());
            m_ok = m_ok && Take(L")");
            return v;
        }
        if (Take(L"√3")) {
            return std::sqrt(3.0);
        }
        if (Take(L"max(")) {
            double v = Expression();
            while (m_ok && Take(L",")) {
                v = std::max(v, Expression());
            }
            m_ok = m_ok && Take(L")");
            return v;
        }
        if (Take(L"(")) {
            const double v = Expression();
            m_ok = m_ok && Take(L")");
            return v;
        }
        return Number();
    }
    double Number()
    {
        Blanks();
        const size_t start = m_pos;
        while (m_pos < m_text.size() && (std::iswdigit(m_text[m_pos]) || m_text[m_pos] == L'.')) {
            ++m_pos;
        }
        if (m_pos == start) {
            m_ok = false;
            return 0;
        }
        const std::wstring digits = m_text.substr(start, m_pos - start);
        const size_t point = digits.find(L'.');
        const double read = std::stod(ToUtf8(digits));
        if (!m_values) {
            // Integers and the method's constants are exact.
            const bool exact = point == std::wstring::npos || digits == L"0.38" ||
                               digits == L"0.22" || digits == L"1.732";
            const double half =
                exact ? 0 : 0.5 * std::pow(10.0, -static_cast<double>(digits.size() - point - 1));
            m_literals.push_back({read, half});
            return read;
        }
        return (*m_values)[m_next++];
    }

    std::wstring m_text;
    size_t m_pos = 0;
    size_t m_next = 0;
    const std::vector<double>* m_values = nullptr;
    std::vector<Literal> m_literals;
    bool m_ok = true;
};

/// The printed result: the leading number of the last part, as a ratio when
/// it is a percentage, with half a unit of its last decimal.
std::optional<Literal> PrintedResult(const std::wstring& part)
{
    size_t end = 0;
    while (end < part.size() && (std::iswdigit(part[end]) || part[end] == L'.')) {
        ++end;
    }
    if (end == 0) {
        return std::nullopt;
    }
    const std::wstring digits = part.substr(0, end);
    const size_t point = digits.find(L'.');
    double half = point == std::wstring::npos
                      ? 0.5
                      : 0.5 * std::pow(10.0, -static_cast<double>(end - point - 1));
    double value = std::stod(ToUtf8(digits));
    if (part.compare(end, 2, L" %") == 0) {
        value /= 100;
        half /= 100;
    }
    return Literal{value, half};
}

std::vector<std::wstring> Parts(const std::wstring& text)
{
    std::vector<std::wstring> parts;
    size_t start = 0;
    for (size_t at; (at = text.find(L" = ", start)) != std::wstring::npos; start = at + 3) {
        parts.push_back(text.substr(start, at - start));
    }
    parts.push_back(text.substr(start));
    return parts;
}

/// Checks one step; returns whether it was arithmetic that could be checked.
bool CheckStep(const BookStep& step)
{
    const std::vector<std::wstring> parts = Parts(step.text);
    if (parts.size() < 3) {
        return false;
    }
    CPrinted printed(parts[parts.size() - 2]);
    const std::optional<double> value = printed.Evaluate();
    const std::optional<Literal> result = PrintedResult(parts.back());
    if (!value || !result || printed.Literals().empty()) {
        return false;
    }
    // How far rounding the figures put in can move the result (first-order),
    // plus the result's own rounding and the six digits the document keeps.
    std::vector<double> inputs;
    for (const Literal& l : printed.Literals()) {
        inputs.push_back(l.value);
    }
    double allowed = result->halfUnit + 1e-5 * std::fabs(result->value) + 1e-9;
    for (size_t k = 0; k < inputs.size(); ++k) {
        const double h = printed.Literals()[k].halfUnit;
        if (h == 0) {
            continue;
        }
        std::vector<double> moved = inputs;
        moved[k] += h;
        const double up = *printed.Evaluate(&moved);
        moved[k] = inputs[k] - h;
        const double down = *printed.Evaluate(&moved);
        allowed += std::max(std::fabs(up - *value), std::fabs(down - *value));
    }
    EXPECT_LE(std::fabs(*value - result->value), allowed)
        << ToUtf8(step.label) << ": " << ToUtf8(step.text) << " recomputes to " << *value;
    return true;
}

}  // namespace

TEST(BookRecompute, EveryFormulaLineRecomputesFromItsPrintedFigures)
{
    std::mt19937 rng(11);
    int checked = 0;
    int transformersSeen = 0;
    for (int round = 0; round < 20; ++round) {
        CLoadArray loads;
        CTransformerArray transformers;
        testsupport::MakeRandomDocument(rng, {60, 4, 0.0}, loads, transformers);
        RecalculateDocument(loads, transformers);
        const BookContent book = BuildBookContent(loads, transformers);
        for (const BookTransformer& b : book.transformers) {
            int here = 0;
            for (const BookStep& step : b.steps) {
                here += CheckStep(step) ? 1 : 0;
            }
            // Group sums, Pc, Qc, cos φ1, Qcc, Q2, S2, I2, cos φ2', S and the load
            // rate are arithmetic; a transformer without load has fewer.
            if (!b.circuits.empty() && !transformers[b.index].m_strCalcP.empty() &&
                ParseNumber(transformers[b.index].m_strCalcP) > 1) {
                EXPECT_GE(here, 10) << ToUtf8(transformers[b.index].m_strName);
                ++transformersSeen;
            }
            checked += here;
        }
    }
    EXPECT_GT(transformersSeen, 20);
    EXPECT_GT(checked, 200);
}

TEST(BookRecompute, EveryBoardAndTransformerStepWithBoardsRecomputesUnderBothRuleSets)
{
    std::mt19937 rng(12);
    int boardSteps = 0;
    int boardsSeen = 0;
    int transformerSteps = 0;
    for (const CalcRules rules : {CalcRules::Original, CalcRules::GB51348_2019}) {
        for (int round = 0; round < 6; ++round) {
            testsupport::RandomBoardOptions opt;
            opt.circuits = 120;
            opt.boards = 25;
            opt.transformers = 3;
            opt.rules = rules;
            CLoadCalDocument doc;
            testsupport::MakeRandomBoardDocument(rng, opt, doc);
            RecalculateDocument(doc);
            const BookContent book = BuildBookContent(doc);
            ASSERT_EQ(book.boards.size(), static_cast<size_t>(doc.boards.GetSize()));
            for (const BookBoard& b : book.boards) {
                int here = 0;
                for (const BookStep& step : b.steps) {
                    here += CheckStep(step) ? 1 : 0;
                }
                // Pjs, Qjs, Sjs, cos φ and Ijs of a loaded board, and its group
                // sums when it has single-phase members.
                if (ParseNumber(doc.boards[b.index].m_strCalcS) > 1) {
                    EXPECT_GE(here, 5) << ToUtf8(doc.boards[b.index].m_strName);
                    ++boardsSeen;
                }
                boardSteps += here;
            }
            for (const BookTransformer& t : book.transformers) {
                for (const BookStep& step : t.steps) {
                    transformerSteps += CheckStep(step) ? 1 : 0;
                }
            }
        }
    }
    EXPECT_GT(boardsSeen, 150);
    EXPECT_GT(boardSteps, 1000);
    EXPECT_GT(transformerSteps, 300);
}

TEST(BookRecompute, BothCasesAndTheSizingOfADocumentWithFireRolesRecompute)
{
    std::mt19937 rng(13);
    int fireSteps = 0;
    int sizingSteps = 0;
    int boardFireSteps = 0;
    int fireGoverns = 0;
    for (const CalcRules rules : {CalcRules::Original, CalcRules::GB51348_2019}) {
        for (int round = 0; round < 5; ++round) {
            testsupport::RandomBoardOptions opt;
            opt.circuits = 120;
            opt.boards = 20;
            opt.transformers = 3;
            opt.rules = rules;
            opt.fireShare = 0.3;
            CLoadCalDocument doc;
            testsupport::MakeRandomBoardDocument(rng, opt, doc);
            RecalculateDocument(doc);
            ASSERT_TRUE(HasFireRoles(doc));
            const BookContent book = BuildBookContent(doc);
            ASSERT_TRUE(book.fire);
            for (const BookBoard& b : book.boards) {
                ASSERT_TRUE(b.fire.has_value());
                for (const BookStep& step : b.fire->steps) {
                    boardFireSteps += CheckStep(step) ? 1 : 0;
                }
            }
            for (const BookTransformer& t : book.transformers) {
                ASSERT_TRUE(t.fire.has_value());
                for (const BookStep& step : t.steps) {
                    CheckStep(step);
                    // The normal case stops at Pc / S2: the capacity is chosen below.
                    EXPECT_NE(step.label, L"所需容量");
                }
                for (const BookStep& step : t.fire->steps) {
                    fireSteps += CheckStep(step) ? 1 : 0;
                }
                for (const BookStep& step : t.sizing) {
                    sizingSteps += CheckStep(step) ? 1 : 0;
                }
                const CTransformerCalData& record = doc.transformers[t.index];
                fireGoverns += record.m_strGoverningCase == kGoverningFire ? 1 : 0;
            }
        }
    }
    EXPECT_GT(boardFireSteps, 300);
    EXPECT_GT(fireSteps, 150);
    // S, the two load rates; Se is a choice, not arithmetic.
    EXPECT_GT(sizingSteps, 60);
    EXPECT_GT(fireGoverns, 0);
}
