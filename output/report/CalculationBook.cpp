#include "output/report/CalculationBook.h"

#include <QBuffer>
#include <QDate>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

#include <initializer_list>
#include <map>
#include <memory>
#include <set>

#include "document/AtomicFile.h"
#include "model/Columns.h"
#include "model/Numeric.h"
#include "output/Figures.h"
#include "output/OutputError.h"
#include "output/OutputFile.h"
#include "output/report/BookContent.h"
#include "output/report/BookLayout.h"
#include "output/report/PdfTextMap.h"

namespace loadcal {
namespace {

QString Q(std::wstring_view text)
{
    return QString::fromWCharArray(text.data(), static_cast<qsizetype>(text.size()));
}

constexpr int kTitleSize = 280;
constexpr int kSubtitleSize = 150;
constexpr int kSectionSize = 150;
constexpr int kSubsectionSize = 115;

QtMessageHandler g_previousHandler = nullptr;

/// Qt's messages while the offscreen application runs, but for the notice
/// that a command-line session has no runtime folder, which concerns no one.
void FilterMessages(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (text.startsWith(QStringLiteral("QStandardPaths: XDG_RUNTIME_DIR not set"))) {
        return;
    }
    if (g_previousHandler) {
        g_previousHandler(type, context, text);
    }
}

/// A Qt GUI application for the book's fonts: the process's own, or one on
/// the offscreen platform for as long as this object lives.
class CGuiSession {
public:
    CGuiSession()
    {
        if (QCoreApplication::instance()) {
            if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
                throw OutputError(OutputError::Kind::NoObject,
                                  "the calculation book needs a Qt GUI application");
            }
            return;
        }
        // The application takes the options it knows out of argv, so each
        // session gets its own.
        g_previousHandler = qInstallMessageHandler(FilterMessages);
        m_app = std::make_unique<QGuiApplication>(m_argc, m_argv);
    }
    ~CGuiSession()
    {
        if (m_app) {
            m_app.reset();
            qInstallMessageHandler(g_previousHandler);
        }
    }
    CGuiSession(const CGuiSession&) = delete;
    CGuiSession& operator=(const CGuiSession&) = delete;

private:
    char m_name[8] = "loadcal";
    char m_option[10] = "-platform";
    char m_platform[10] = "offscreen";
    char* m_argv[4] = {m_name, m_option, m_platform, nullptr};
    int m_argc = 3;
    std::unique_ptr<QGuiApplication> m_app;
};

/// The project information as the title page shows it: the document's own,
/// or the file name as the project name and the run date when it has none.
struct TitleFacts {
    CProjectInfo project;
    QString name;
    QString date;
};

TitleFacts Facts(const BookInfo& info)
{
    TitleFacts f{info.details, {}, {}};
    f.name = Q(info.details.Name().empty() ? info.project : info.details.Name());
    const std::wstring& date = info.details.FieldAt(CProjectInfo::kDate);
    f.date = Q(date.empty() ? info.date : date);
    return f;
}

QString Field(const CProjectInfo& p, int field)
{
    return Q(p.FieldAt(field));
}

void TitlePage(CBookLayout& book, const TitleFacts& facts, const CLoadArray& loads,
               const CTransformerArray& transformers, const BookContent& content)
{
    const CProjectInfo& p = facts.project;
    book.Space(900);
    book.CentredText(facts.name, kSubtitleSize);
    book.Space(250);
    book.CentredText(QStringLiteral("负荷计算书"), kTitleSize);
    book.Space(100);
    book.CentredText(QStringLiteral("（需要系数法）"), kSubsectionSize);
    book.Space(500);
    const std::vector<BookColumn> factRows = {{QStringLiteral("项目"), 1},
                                            {QStringLiteral("内容"), 3}};
    book.Table(
        factRows,
        {
            {QStringLiteral("工程名称"), facts.name},
            {QStringLiteral("工程编号"), Field(p, CProjectInfo::kNumber)},
            {QStringLiteral("子项"), Field(p, CProjectInfo::kSubproject)},
            {QStringLiteral("建设单位"), Field(p, CProjectInfo::kClient)},
            {QStringLiteral("设计阶段"), Field(p, CProjectInfo::kStage)},
            {QStringLiteral("版次"), Field(p, CProjectInfo::kRevision)},
            {QStringLiteral("日期"), facts.date},
            {QStringLiteral("负荷回路 / 变压器"),
             QStringLiteral("%1 个 / %2 台").arg(loads.GetSize()).arg(transformers.GetSize())},
            {QStringLiteral("总有功功率 Ptot"),
             Q(ShowFigure(FigureKind::Power, content.totals.active)) + " kW"},
            {QStringLiteral("总视在功率 Stot"),
             Q(ShowFigure(FigureKind::Power, content.totals.apparent)) + " kV·A"},
        },
        {.size = CBookLayout::kBodySize, .keepTogether = true});
    book.Space(350);
    const std::vector<BookColumn> signatures = {{QStringLiteral("职责"), 1},
                                                {QStringLiteral("姓名"), 1.6},
                                                {QStringLiteral("签名"), 1.6},
                                                {QStringLiteral("日期"), 1.3}};
    book.Table(signatures,
               {{QStringLiteral("编制"), Field(p, CProjectInfo::kDesigner), "", ""},
                {QStringLiteral("校对"), Field(p, CProjectInfo::kChecker), "", ""},
                {QStringLiteral("审核"), Field(p, CProjectInfo::kReviewer), "", ""},
                {QStringLiteral("审定"), Field(p, CProjectInfo::kApprover), "", ""}},
               {.size = CBookLayout::kBodySize, .minLines = 2, .keepTogether = true});
    const QString institute = Field(p, CProjectInfo::kInstitute);
    if (!institute.isEmpty()) {
        book.Space(250);
        book.CentredText(institute, kSubsectionSize);
    }
}

/// The table of contents: every section and every transformer's part, with
/// the number of the page it starts on (numbers as the footers print them).
void Contents(CBookLayout& book, const std::vector<CBookLayout::TocEntry>& entries, int firstPage)
{
    book.NewPage(false);
    book.Space(200);
    book.CentredText(QStringLiteral("目　录"), kSectionSize);
    book.Space(200);
    for (const CBookLayout::TocEntry& e : entries) {
        book.TocLine(e.text, e.level == 1 ? 0 : 400, QString::number(firstPage + e.page));
    }
}

/// A heading and its formulas, one indented paragraph each.
void FormulaBlock(CBookLayout& book, const QString& heading,
                  std::initializer_list<const char16_t*> lines)
{
    book.Heading(heading, kSubsectionSize);
    for (const char16_t* line : lines) {
        book.Paragraph(QString::fromUtf16(line), CBookLayout::kBodySize, 200);
    }
}

void BasisAndFormulas(CBookLayout& book)
{
    book.Heading(QStringLiteral("一、计算依据"), kSectionSize, 1);
    book.Paragraph(QStringLiteral("1. 依据的标准与设计手册："));
    for (const char16_t* line : {
             u"GB 51348-2019《民用建筑电气设计标准》",
             u"GB 55024-2022《建筑电气与智能化通用规范》",
             u"GB 50052-2009《供配电系统设计规范》",
             u"GB 50054-2011《低压配电设计规范》",
             u"GB 50227-2017《并联电容器装置设计规范》",
             u"《工业与民用供配电设计手册》（第四版）",
         }) {
        book.Paragraph(QString::fromUtf16(line), CBookLayout::kBodySize, 300);
    }
    const QStringList basis = {
        QStringLiteral("2. 计算方法：需要系数法。各回路的计算负荷由设备功率乘以需要系数求得；"
                       "变压器的计算负荷由所属回路的计算负荷之和乘以同时系数求得，"
                       "再按目标功率因数计算无功补偿容量，并按预计负荷率选择变压器额定容量。"),
        QStringLiteral("3. 单相负荷按下节的 15 % 规则计入：三相平衡时直接相加，"
                       "不平衡时按最大一相的 3 倍计为等效三相负荷。回路电流按回路工作电压计算，"
                       "变压器低压侧电流按 0.38 kV 计算。"),
        QStringLiteral(
            "4. 符号与单位：Pe 设备功率（kW），Kx 需要系数，cosφ 功率因数，"
            "Pjs、Qjs、Sjs、Ijs 回路计算有功功率（kW）、无功功率（kvar）、视在功率（kV·A）"
            "和计算电流（A），K∑p、K∑q 有功、无功同时系数，负载率以百分数表示。"),
        QStringLiteral(
            "5. 数值修约：计算以计算文件中保存的数值进行（回路结果与分组合计保存为六位有效数字，"
            "变压器各步以全精度连续计算）；本计算书中功率修约至 0.01，系数修约至 0.01～0.001，"
            "电流修约至 0.1 A，负载率修约至 0.1 %。各式中代入的是修约后的数值，"
            "以之复算的结果与所示结果之差在修约误差以内。"),
    };
    for (const QString& p : basis) {
        book.Paragraph(p);
    }
    book.Space(200);
    book.Heading(QStringLiteral("二、计算公式"), kSectionSize, 1);
    FormulaBlock(book, QStringLiteral("1. 回路计算"),
                 {
                     u"有功功率 Pjs = Kx × Pe（kW）",
                     u"无功功率 Qjs = Pjs × tanφ = Pjs × √(1 − cos²φ) / cosφ（kvar；|cosφ| ≤ "
                     u"1×10⁻⁸ 时 Qjs = 0）",
                     u"视在功率 Sjs = √(Pjs² + Qjs²)（kV·A）",
                     u"三相回路（相位 \"L1,L2,L3,N\"）：Ijs = Pjs / (1.732 × U × cosφ)（A；U "
                     u"为回路工作电压，kV）",
                     u"单相回路：Ijs = Pjs / (U × cosφ)（A）",
                     u"两种回路在 |U × cosφ| ≤ 1×10⁻⁸ 时均取 Ijs = 0",
                 });
    FormulaBlock(
        book, QStringLiteral("2. 按变压器分组合计（15 % 规则）"),
        {
            u"归属变压器栏中任一名称（以 \",\" "
            u"分隔，不分大小写）与变压器名称相同的回路属于该变压器；"
            u"一个回路可属于多台变压器，分别计入各台。",
            u"相位为 \"L1,N\"、\"L2,N\"、\"L3,N\" 的回路按相累加电流 IL1、IL2、IL3 和功率 "
            u"PL1、PL2、PL3（无功、设备功率同法）；相位为 \"L1,L2,L3,N\" 的回路累加为 "
            u"P3φ；其他相位文字的回路不计入合计。",
            u"平均电流 Ī = (IL1 + IL2 + IL3) / 3。当 |Ī − IL1|、|Ī − IL2|、|Ī − IL3| 均小于 "
            u"0.15 × Ī 时三相平衡：ΣPjs = PL1 + PL2 + PL3 + P3φ；否则 ΣPjs = 3 × max(PL1, PL2, "
            u"PL3) + P3φ。没有单相回路时 ΣPjs = P3φ。",
        });
    FormulaBlock(
        book, QStringLiteral("3. 变压器计算、无功补偿与容量选择"),
        {
            u"计算有功功率 Pc = K∑p × ΣPjs（kW）；计算无功功率 Qc = K∑q × ΣQjs（kvar）",
            u"补偿前功率因数 cosφ1 = √(1 / (1 + (β × Qc / (α × Pc))²))（α、β 为有功、无功补偿系数；"
            u"|α × Pc| ≤ 1×10⁻⁸ 时 cosφ1 = 0）",
            u"补偿容量 Qcc = Pc × (tanφ1 − tanφ2)（kvar；cosφ2 为目标功率因数）",
            u"实际补偿容量 Qb：\"实际补偿容量\"栏的值，其绝对值小于 1×10⁻⁹（含空白）时取 Qb = Qcc",
            u"补偿后无功功率 Q2 = Qc − Qb；视在功率 S2 = √(Pc² + Q2²)（kV·A）；"
            u"计算电流 I2 = S2 / (√3 × 0.38)（A）",
            u"所需容量 S = S2 / 预计负荷率；额定容量 Se 取标准容量系列中第一个大于 S 的值，"
            u"S ≥ 10000 kV·A 时记为 0",
            u"标准容量系列（kV·A）：30、50、63、80、100、125、160、200、250、315、400、500、630、"
            u"800、1000、1250、1600、2000、2500、3150、4000、5000、6300、8000、10000",
            u"实际负载率 = S2 / Se（Se = 0 时为 0）；补偿后实际功率因数 cosφ2' = Pc / S2",
        });
    FormulaBlock(
        book, QStringLiteral("4. 全部负荷总计"),
        {
            u"总计不计同时系数与补偿：按回路的归属变压器文字（整栏，区分大小写）分组，各组按 15 % "
            u"规则求合计后相加，得 Pe,tot、Ptot、Qtot。归属栏为多台变压器（如 \"T1,T2\"）的整栏文字"
            u"自成一组但其合计为 0，这类回路只在某台变压器名称单独作为归属文字出现时计入。",
            u"Stot = √(Ptot² + Qtot²)（kV·A）；cosφtot = Ptot / Stot（Stot ≤ 1×10⁻⁸ 时为 0）；"
            u"Itot = Stot / (√3 × 0.38)（A）",
        });
}

template <size_t N>
std::vector<BookColumn> Columns(const std::array<std::wstring_view, N>& headers,
                                const std::vector<double>& weights)
{
    std::vector<BookColumn> out;
    for (size_t k = 0; k < N; ++k) {
        out.push_back({Q(headers[k]), weights[k]});
    }
    return out;
}

QString Figure(FigureKind kind, const std::wstring& text)
{
    return Q(ShowFigure(kind, text));
}

void LoadTable(CBookLayout& book, const CLoadArray& loads, const SummaryTotals& totals)
{
    book.NewPage(true);
    book.Heading(QStringLiteral("三、负荷计算表"), kSectionSize, 1);
    std::vector<QStringList> rows;
    rows.reserve(static_cast<size_t>(loads.GetSize()) + 1);
    for (const CLoadCalData& c : loads) {
        QStringList row;
        for (size_t k = 0; k < kLoadColumns.size(); ++k) {
            row.push_back(Figure(kLoadColumnKinds[k], c.FieldAt(kLoadColumns[k].field)));
        }
        rows.push_back(std::move(row));
    }
    rows.push_back(
        {"", QStringLiteral("总计"), "", "", Figure(FigureKind::Power, totals.installed), "", "",
         Figure(FigureKind::Factor, totals.powerFactor), Figure(FigureKind::Power, totals.active),
         Figure(FigureKind::Power, totals.reactive), Figure(FigureKind::Power, totals.apparent),
         Figure(FigureKind::Current, totals.current), ""});
    book.Table(Columns(kIssuedLoadHeaders, {0.8, 0.9, 1.7, 1.1, 1, 1, 1, 1, 1, 1, 1.1, 1, 1.6}),
               rows, {.shadeLastRow = true});
}

void TransformerTable(CBookLayout& book, const CTransformerArray& transformers)
{
    book.Heading(QStringLiteral("四、变压器计算表"), kSectionSize, 1);
    std::vector<QStringList> rows;
    for (const CTransformerCalData& t : transformers) {
        QStringList row;
        for (size_t k = 0; k < kTransformerColumns.size(); ++k) {
            row.push_back(
                Figure(kTransformerColumnKinds[k], t.FieldAt(kTransformerColumns[k].field)));
        }
        rows.push_back(std::move(row));
    }
    book.Table(Columns(kIssuedTransformerHeaders, std::vector<double>(16, 1.0)), rows,
               {.keepTogether = true});
}

void TransformerSections(CBookLayout& book, const CLoadArray& loads,
                         const CTransformerArray& transformers, const BookContent& content)
{
    book.NewPage(false);
    book.Heading(QStringLiteral("五、各变压器计算"), kSectionSize, 1);
    // The circuit columns shown under each transformer (apparent power and
    // voltage left out: the steps need the rest).
    constexpr std::array<size_t, 10> kShown = {0, 1, 2, 3, 4, 6, 7, 8, 9, 11};
    const std::vector<double> weights = {0.8, 0.9, 1.6, 1.1, 1, 0.9, 1, 1, 1, 1};
    std::vector<BookColumn> columns;
    for (size_t k = 0; k < kShown.size(); ++k) {
        columns.push_back({Q(kIssuedLoadHeaders[kShown[k]]), weights[k]});
    }
    int number = 0;
    for (const BookTransformer& b : content.transformers) {
        const CTransformerCalData& t = transformers[b.index];
        book.Heading(QStringLiteral("%1. 变压器 %2").arg(++number).arg(Q(t.m_strName)),
                     kSubsectionSize, 2);
        book.Paragraph(QStringLiteral("所属回路 %1 个。").arg(b.circuits.size()));
        std::vector<QStringList> rows;
        for (int i : b.circuits) {
            const CLoadCalData& c = loads[i];
            QStringList row;
            for (size_t k : kShown) {
                row.push_back(Figure(kLoadColumnKinds[k], c.FieldAt(kLoadColumns[k].field)));
            }
            rows.push_back(std::move(row));
        }
        rows.push_back({"", QStringLiteral("合计"), QStringLiteral("（按 15 % 规则）"), "",
                        Figure(FigureKind::Power, b.installedSum), "", "",
                        Figure(FigureKind::Power, b.activeSum),
                        Figure(FigureKind::Power, b.reactiveSum), ""});
        book.Table(columns, rows, {.shadeLastRow = true});
        for (const BookStep& step : b.steps) {
            book.LabelledParagraph(Q(step.label), 1250, Q(step.text));
        }
        book.Space(150);
        book.BarChart(QStringLiteral("变压器 %1 各相电流：单相回路计入所接的相，三相回路的电流"
                                     "计入每一相（回路计算电流之和，未计同时系数与补偿）")
                          .arg(Q(t.m_strName)),
                      QStringLiteral("电流 I (A)"),
                      {QStringLiteral("L1"), QStringLiteral("L2"), QStringLiteral("L3")},
                      {b.phaseCurrents[0], b.phaseCurrents[1], b.phaseCurrents[2]}, 3200, 1100);
    }
}

void Totals(CBookLayout& book, const SummaryTotals& t)
{
    book.Heading(QStringLiteral("六、全部负荷总计"), kSectionSize, 1);
    const QString pe = Figure(FigureKind::Power, t.installed);
    const QString p = Figure(FigureKind::Power, t.active);
    const QString q = Figure(FigureKind::Power, t.reactive);
    const QString s = Figure(FigureKind::Power, t.apparent);
    const std::vector<std::pair<QString, QString>> lines = {
        {QStringLiteral("总设备功率"), "Pe,tot = " + pe + " kW"},
        {QStringLiteral("总有功功率"), "Ptot = " + p + " kW"},
        {QStringLiteral("总无功功率"), "Qtot = " + q + " kvar"},
        {QStringLiteral("总视在功率"),
         "Stot = √(Ptot² + Qtot²) = √(" + p + "² + " + q + "²) = " + s + " kV·A"},
        {QStringLiteral("总功率因数"), "cosφtot = Ptot / Stot = " + p + " / " + s + " = " +
                                           Figure(FigureKind::Factor, t.powerFactor)},
        {QStringLiteral("总计算电流"), "Itot = Stot / (√3 × 0.38) = " + s + " / (√3 × 0.38) = " +
                                           Figure(FigureKind::Current, t.current) + " A"},
    };
    for (const auto& [label, text] : lines) {
        book.LabelledParagraph(label, 1250, text);
    }
}

void Checks(CBookLayout& book, const BookContent& content)
{
    book.NewPage(false);
    book.Heading(QStringLiteral("七、审核检查"), kSectionSize, 1);
    std::vector<QStringList> rows;
    int n = 0;
    for (const BookCheck& c : content.checks) {
        rows.push_back({QString::number(++n), Q(c.item), Q(c.subject), Q(c.finding),
                        c.met ? QStringLiteral("满足") : QStringLiteral("需注意")});
    }
    book.Table({{QStringLiteral("序号"), 0.5},
                {QStringLiteral("检查项"), 2.2},
                {QStringLiteral("对象"), 1},
                {QStringLiteral("情况"), 4},
                {QStringLiteral("结论"), 0.8}},
               rows, {.keepTogether = true});
}

/// The characters beyond the basic plane on the pages, by the font that
/// draws them (the first of the book's families that has the glyph), in the
/// order they are drawn.
RareCharacters RareCharactersOf(const CBookLayout& book)
{
    RareCharacters rare;
    std::vector<std::pair<std::string, QFontMetricsF>> families;
    for (const QString& family : book.Font(100).families()) {
        QFont font(family);
        font.setStyleStrategy(QFont::NoFontMerging);
        QString name = family;
        name.remove(u' ');
        families.emplace_back(name.toStdString(), QFontMetricsF(font));
    }
    std::map<std::string, std::set<char32_t>> seen;
    for (const BookPage& page : book.Pages()) {
        for (const BookPage::Text& text : page.texts) {
            for (const char32_t c : text.text.toUcs4()) {
                if (c < 0x10000) {
                    continue;
                }
                for (const auto& [name, metrics] : families) {
                    if (metrics.inFontUcs4(c)) {
                        if (seen[name].insert(c).second) {
                            rare[name].push_back(c);
                        }
                        break;
                    }
                }
            }
        }
    }
    return rare;
}

}  // namespace

std::wstring BookProjectName(const std::wstring& documentPath)
{
    if (documentPath.empty()) {
        return L"未命名";
    }
    return FromFsPath(ToFsPath(documentPath).stem());
}

std::string RenderCalculationBook(const CLoadArray& loads, const CTransformerArray& transformers,
                                  const BookInfo& given)
{
    const CGuiSession session;
    BookInfo info = given;
    if (info.date.empty()) {
        info.date = QDate::currentDate().toString(Qt::ISODate).toStdWString();
    }
    const BookContent content = BuildBookContent(loads, transformers);
    const TitleFacts facts = Facts(info);

    // The body first, to learn the pages its sections start on; then the
    // title page and the contents, whose length does not depend on the
    // numbers they print.
    CBookLayout body;
    BasisAndFormulas(body);
    LoadTable(body, loads, content.totals);
    TransformerTable(body, transformers);
    TransformerSections(body, loads, transformers, content);
    Totals(body, content.totals);
    Checks(body, content);
    const std::vector<CBookLayout::TocEntry> entries = body.TocEntries();

    const auto front = [&](int firstBodyPage) {
        CBookLayout layout;
        TitlePage(layout, facts, loads, transformers, content);
        Contents(layout, entries, firstBodyPage);
        return layout;
    };
    const int frontPages = static_cast<int>(front(1).Pages().size());
    CBookLayout book = front(frontPages + 1);
    book.Append(std::move(body));
    const QString title = facts.name + QStringLiteral(" 负荷计算书");

    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(title);
        writer.setCreator(QStringLiteral("loadcal"));
        const auto layoutOf = [](bool landscape) {
            return QPageLayout(QPageSize(QPageSize::A4),
                               landscape ? QPageLayout::Landscape : QPageLayout::Portrait,
                               QMarginsF(0, 0, 0, 0));
        };
        writer.setPageLayout(layoutOf(book.Pages().front().landscape));
        QPainter painter;
        if (!painter.begin(&writer)) {
            throw OutputError(OutputError::Kind::NoObject, "the PDF writer could not start");
        }
        const double scale = writer.resolution() / 720.0;
        painter.scale(scale, scale);
        book.Render(painter, title, [&](bool landscape) {
            writer.setPageLayout(layoutOf(landscape));
            writer.newPage();
            painter.resetTransform();
            painter.scale(scale, scale);
        });
        painter.end();
    }
    const QByteArray& bytes = buffer.data();
    return CompleteToUnicodeMaps(std::string(bytes.constData(), static_cast<size_t>(bytes.size())),
                                 RareCharactersOf(book));
}

void WriteCalculationBook(const std::filesystem::path& path, const CLoadArray& loads,
                          const CTransformerArray& transformers, const BookInfo& info, bool replace)
{
    RequireTarget(path, replace);
    WriteOutputFile(path, RenderCalculationBook(loads, transformers, info), replace);
}

}  // namespace loadcal
