#include "output/report/CalculationBook.h"

#include <QBuffer>
#include <QDate>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

#include <initializer_list>
#include <memory>

#include "document/AtomicFile.h"
#include "model/Columns.h"
#include "model/Numeric.h"
#include "output/OutputError.h"
#include "output/OutputFile.h"
#include "output/report/BookContent.h"
#include "output/report/BookLayout.h"

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

void TitlePage(CBookLayout& book, const BookInfo& info, const CLoadArray& loads,
               const CTransformerArray& transformers, const BookContent& content)
{
    book.Space(1400);
    book.CentredText(QStringLiteral("负荷计算书"), kTitleSize);
    book.Space(150);
    book.CentredText(QStringLiteral("需要系数法负荷计算"), kSubtitleSize);
    book.Space(700);
    const std::vector<BookColumn> facts = {{QStringLiteral("项目"), 1},
                                           {QStringLiteral("内容"), 3}};
    book.Table(facts,
               {
                   {QStringLiteral("工程名称"), Q(info.project)},
                   {QStringLiteral("计算日期"), Q(info.date)},
                   {QStringLiteral("负荷回路"), QString::number(loads.GetSize()) + " 个"},
                   {QStringLiteral("变压器"), QString::number(transformers.GetSize()) + " 台"},
                   {QStringLiteral("总计算有功功率 Ptot"), Q(content.totals.active) + " kW"},
                   {QStringLiteral("总视在功率 Stot"), Q(content.totals.apparent) + " kVA"},
               },
               {.size = CBookLayout::kBodySize, .keepTogether = true});
    book.Space(500);
    const std::vector<BookColumn> signatures = {
        {QStringLiteral("职责"), 1}, {QStringLiteral("签名"), 2}, {QStringLiteral("日期"), 1.5}};
    book.Table(signatures,
               {{QStringLiteral("编制"), "", ""},
                {QStringLiteral("校对"), "", ""},
                {QStringLiteral("审核"), "", ""},
                {QStringLiteral("审定"), "", ""}},
               {.size = CBookLayout::kBodySize, .minLines = 3, .keepTogether = true});
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
    book.NewPage(false);
    book.Heading(QStringLiteral("一、计算依据"), kSectionSize);
    const QStringList basis = {
        QStringLiteral("1. 计算方法：需要系数法。各回路的计算负荷由设备额定容量乘以需要系数求得，"
                       "变压器的计算负荷由所属回路的计算负荷之和乘以同时系数求得，"
                       "再按目标功率因数计算无功补偿容量并选择变压器额定容量。"),
        QStringLiteral("2. 参照标准（仅列标准编号与名称，不引用具体条文）：JGJ 16-2008"
                       "《民用建筑电气设计规范》；GB 50052-2009《供配电系统设计规范》。"
                       "采用上述标准时应核对其现行版本。"),
        QStringLiteral("3. 下节公式是本程序实际采用的算法，其中单相负荷的 15 % 判据、"
                       "等效三相负荷取最大一相的 3 倍、回路电流中的常数 1.732、"
                       "变压器电流按 0.38 kV 计算等均为本程序的取法，审核时请对照所用标准复核。"),
        QStringLiteral("4. 计算书中的数值均为计算文件中保存的数值。回路结果与分组合计按六位有效数字"
                       "保存后参与下一步；变压器各步以全精度连续计算，表中数值为六位有效数字，"
                       "按表中数值复算时末位可能相差 1。"),
    };
    for (const QString& p : basis) {
        book.Paragraph(p);
    }
    book.Space(200);
    book.Heading(QStringLiteral("二、计算公式"), kSectionSize);
    FormulaBlock(
        book, QStringLiteral("1. 回路计算"),
        {
            u"计算有功功率 Pjs = Pe × K（kW；Pe 额定容量，K 需要系数）",
            u"计算无功功率 Qjs = Pjs × √(1 − cos²φ) / cos φ（kVar；|cos φ| ≤ 1×10⁻⁸ 时 Qjs = 0）",
            u"视在功率 Sjs = √(Pjs² + Qjs²)（kVA）",
            u"三相回路（相位含 \"L1,L2,L3,N\"）：Ijs = Pjs / (1.732 × U × cos φ)（A；U "
            u"为回路工作电压，kV）",
            u"单相回路：Ijs = Pjs / (U × cos φ)（A）",
            u"两种回路在 |U × cos φ| ≤ 1×10⁻⁸ 时均取 Ijs = 0",
        });
    FormulaBlock(
        book, QStringLiteral("2. 按变压器分组合计（15 % 规则）"),
        {
            u"归属变压器栏中任一名称（以 \",\" "
            u"分隔，不分大小写）与变压器名称相同的回路属于该变压器；"
            u"一个回路可属于多台变压器，分别计入各台。",
            u"相位为 \"L1,N\"、\"L2,N\"、\"L3,N\" 的回路按相累加电流 IL1、IL2、IL3 和功率 "
            u"PL1、PL2、PL3"
            u"（无功、设备容量同法）；相位为 \"L1,L2,L3,N\" 的回路累加为 "
            u"P3φ；其他相位文字的回路不计入合计。",
            u"平均电流 Ī = (IL1 + IL2 + IL3) / 3。当 |Ī − IL1|、|Ī − IL2|、|Ī − IL3| 均小于 0.15 "
            u"× Ī 时"
            u"三相平衡：ΣP = PL1 + PL2 + PL3 + P3φ；否则 ΣP = 3 × max(PL1, PL2, PL3) + P3φ。"
            u"没有单相回路时 ΣP = P3φ。",
        });
    FormulaBlock(
        book, QStringLiteral("3. 变压器计算、无功补偿与容量选择"),
        {
            u"计算有功功率 Pc = Kp × ΣPjs；计算无功功率 Qc = Kq × ΣQjs（Kp、Kq 为同时系数）",
            u"补偿前功率因数 cos φ1 = √(1 / (1 + (β·Qc / (α·Pc))²))（α、β 为有功、无功补偿系数；"
            u"|α·Pc| ≤ 1×10⁻⁸ 时 cos φ1 = 0）",
            u"补偿容量 Qcc = Pc × (tan(arccos cos φ1) − tan(arccos cos φ2))（cos φ2 "
            u"为目标功率因数，即"
            u"\"补偿后功率因数\"栏）",
            u"实际补偿容量 Qb：\"实际补偿容量\"栏的值，其绝对值小于 1×10⁻⁹（含空白）时取 Qb = Qcc",
            u"补偿后无功功率 Q2 = Qc − Qb；视在功率 S2 = √(Pc² + Q2²)；计算电流 I2 = S2 / (√3 × "
            u"0.38)",
            u"所需容量 S = S2 / 预计负荷率；额定容量 Se 取标准容量系列中第一个大于 S 的值，"
            u"S ≥ 10000 kVA 时记为 0",
            u"标准容量系列（kVA）：30、50、63、80、100、125、160、200、250、315、400、500、630、"
            u"800、1000、1250、1600、2000、2500、3150、4000、5000、6300、8000、10000",
            u"实际负载率 = S2 / Se（Se = 0 时为 0）；补偿后实际功率因数 cos φ2' = Pc / "
            u"S2（供审核）",
        });
    FormulaBlock(
        book, QStringLiteral("4. 全部负荷总计"),
        {
            u"总计不计同时系数与补偿：按回路的归属变压器文字（整栏，区分大小写）分组，各组按 15 % "
            u"规则"
            u"求合计后相加，得 Pe,tot、Ptot、Qtot。归属栏为多台变压器（如 \"T1,T2\"）的整栏文字"
            u"自成一组但其合计为 0，这类回路只在某台变压器名称单独作为归属文字出现时计入。",
            u"Stot = √(Ptot² + Qtot²)；cos φtot = Ptot / Stot（Stot ≤ 1×10⁻⁸ 时为 0）；"
            u"Itot = Stot / (√3 × 0.38)",
        });
}

template <size_t N>
std::vector<BookColumn> Columns(const std::array<TableColumn, N>& columns,
                                const std::vector<double>& weights)
{
    std::vector<BookColumn> out;
    for (size_t k = 0; k < N; ++k) {
        out.push_back({Q(columns[k].title), weights[k]});
    }
    return out;
}

void LoadTable(CBookLayout& book, const CLoadArray& loads, const SummaryTotals& totals)
{
    book.NewPage(true);
    book.Heading(QStringLiteral("三、负荷计算表"), kSectionSize);
    std::vector<QStringList> rows;
    rows.reserve(static_cast<size_t>(loads.GetSize()) + 1);
    for (const CLoadCalData& c : loads) {
        QStringList row;
        for (const TableColumn& column : kLoadColumns) {
            row.push_back(Q(c.FieldAt(column.field)));
        }
        rows.push_back(std::move(row));
    }
    rows.push_back({"", QStringLiteral("总计"), "", "", Q(totals.installed), "", "",
                    Q(totals.powerFactor), Q(totals.active), Q(totals.reactive), Q(totals.apparent),
                    Q(totals.current), ""});
    book.Table(Columns(kLoadColumns, {0.8, 0.9, 1.7, 1.1, 1, 1, 1, 1.1, 1, 1, 1, 1, 1.7}), rows,
               {.shadeLastRow = true});
}

void TransformerTable(CBookLayout& book, const CTransformerArray& transformers)
{
    book.Heading(QStringLiteral("四、变压器计算表"), kSectionSize);
    std::vector<QStringList> rows;
    for (const CTransformerCalData& t : transformers) {
        QStringList row;
        for (const TableColumn& column : kTransformerColumns) {
            row.push_back(Q(t.FieldAt(column.field)));
        }
        rows.push_back(std::move(row));
    }
    book.Table(Columns(kTransformerColumns, std::vector<double>(16, 1.0)), rows,
               {.keepTogether = true});
}

void TransformerSections(CBookLayout& book, const CLoadArray& loads,
                         const CTransformerArray& transformers, const BookContent& content)
{
    book.NewPage(false);
    book.Heading(QStringLiteral("五、各变压器计算"), kSectionSize);
    const std::vector<BookColumn> columns = {
        {QStringLiteral("回路编号"), 0.8},       {QStringLiteral("设备编号"), 0.9},
        {QStringLiteral("设备名称"), 1.6},       {QStringLiteral("相位"), 1.1},
        {QStringLiteral("额定容量(kW)"), 1},     {QStringLiteral("需要系数(K)"), 0.9},
        {QStringLiteral("功率因数(cos(φ))"), 1}, {QStringLiteral("计算有功(kW)"), 1},
        {QStringLiteral("计算无功(kVar)"), 1},   {QStringLiteral("计算电流(A)"), 1}};
    int number = 0;
    for (const BookTransformer& b : content.transformers) {
        const CTransformerCalData& t = transformers[b.index];
        book.Heading(QStringLiteral("%1. 变压器 %2").arg(++number).arg(Q(t.m_strName)),
                     kSubsectionSize);
        book.Paragraph(QStringLiteral("所属回路 %1 个。").arg(b.circuits.size()));
        std::vector<QStringList> rows;
        for (int i : b.circuits) {
            const CLoadCalData& c = loads[i];
            rows.push_back({Q(c.m_strCircuitNo), Q(c.m_strEquipNo), Q(c.m_strEquipName),
                            Q(c.m_strPhase), Q(c.m_strRatedPower), Q(c.m_strDemandFactor),
                            Q(c.m_strPowerFactor), Q(c.m_strCalcP), Q(c.m_strCalcQ),
                            Q(c.m_strCalcI)});
        }
        rows.push_back({"", QStringLiteral("合计"), QStringLiteral("（按 15 % 规则）"), "",
                        Q(b.installedSum), "", "", Q(b.activeSum), Q(b.reactiveSum), ""});
        book.Table(columns, rows, {.shadeLastRow = true});
        for (const BookStep& step : b.steps) {
            book.LabelledParagraph(Q(step.label), 1250, Q(step.text));
        }
        book.Space(150);
        book.BarChart(QStringLiteral("变压器 %1 各相电流（A；三相回路电流的 1/3 计入每一相）")
                          .arg(Q(t.m_strName)),
                      {QStringLiteral("L1"), QStringLiteral("L2"), QStringLiteral("L3")},
                      {b.phaseCurrents[0], b.phaseCurrents[1], b.phaseCurrents[2]}, 2600, 1100);
    }
}

void Totals(CBookLayout& book, const SummaryTotals& t)
{
    book.Heading(QStringLiteral("六、全部负荷总计"), kSectionSize);
    const std::vector<std::pair<QString, QString>> lines = {
        {QStringLiteral("总设备容量"), "Pe,tot = " + Q(t.installed) + " kW"},
        {QStringLiteral("总计算有功"), "Ptot = " + Q(t.active) + " kW"},
        {QStringLiteral("总计算无功"), "Qtot = " + Q(t.reactive) + " kVar"},
        {QStringLiteral("总视在功率"), "Stot = √(Ptot² + Qtot²) = √(" + Q(t.active) + "² + " +
                                           Q(t.reactive) + "²) = " + Q(t.apparent) + " kVA"},
        {QStringLiteral("总功率因数"), "cos φtot = Ptot / Stot = " + Q(t.active) + " / " +
                                           Q(t.apparent) + " = " + Q(t.powerFactor)},
        {QStringLiteral("总计算电流"), "Itot = Stot / (√3 × 0.38) = " + Q(t.apparent) +
                                           " / (√3 × 0.38) = " + Q(t.current) + " A"},
    };
    for (const auto& [label, text] : lines) {
        book.LabelledParagraph(label, 1250, text);
    }
}

void Checks(CBookLayout& book, const BookContent& content)
{
    book.NewPage(false);
    book.Heading(QStringLiteral("七、审核检查"), kSectionSize);
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

    CBookLayout book;
    TitlePage(book, info, loads, transformers, content);
    BasisAndFormulas(book);
    LoadTable(book, loads, content.totals);
    TransformerTable(book, transformers);
    TransformerSections(book, loads, transformers, content);
    Totals(book, content.totals);
    Checks(book, content);

    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(Q(info.project) + QStringLiteral(" 负荷计算书"));
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
        book.Render(painter, Q(info.project) + QStringLiteral(" 负荷计算书"), [&](bool landscape) {
            writer.setPageLayout(layoutOf(landscape));
            writer.newPage();
            painter.resetTransform();
            painter.scale(scale, scale);
        });
        painter.end();
    }
    const QByteArray& bytes = buffer.data();
    return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

void WriteCalculationBook(const std::filesystem::path& path, const CLoadArray& loads,
                          const CTransformerArray& transformers, const BookInfo& info, bool replace)
{
    RequireTarget(path, replace);
    WriteOutputFile(path, RenderCalculationBook(loads, transformers, info), replace);
}

}  // namespace loadcal
