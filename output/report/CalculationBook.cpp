#include "output/report/CalculationBook.h"

#include <QBuffer>
#include <QDate>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <type_traits>

#include "document/AtomicFile.h"
#include "document/LoadTypeFile.h"
#include "document/RecentFiles.h"
#include "model/BoardGraph.h"
#include "model/Columns.h"
#include "model/Numeric.h"
#include "model/Text.h"
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

/// The rule set as the book names it.
QString RulesTitle(CalcRules rules)
{
    return rules == CalcRules::GB51348_2019
               ? QStringLiteral("GB 51348-2019《民用建筑电气设计标准》")
               : QStringLiteral("本程序原有计算规则");
}

/// A section's number as the book writes it: 一, 二, … (at most 十二).
QString Numeral(size_t index)
{
    static const char16_t* const kNumerals[] = {u"一", u"二", u"三", u"四", u"五",   u"六",
                                                u"七", u"八", u"九", u"十", u"十一", u"十二"};
    return QString::fromUtf16(kNumerals[std::min<size_t>(index, std::size(kNumerals) - 1)]);
}

/// The book's section numbers: 一、二、… in the order the sections are made.
class CSectionNumbers {
public:
    QString Next(const QString& title) { return Numeral(m_count++) + QStringLiteral("、") + title; }

private:
    size_t m_count = 0;
};

void TitlePage(CBookLayout& book, const TitleFacts& facts, const CLoadCalDocument& doc,
               const BookContent& content)
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
    std::vector<QStringList> rows = {
        {QStringLiteral("工程名称"), facts.name},
        {QStringLiteral("工程编号"), Field(p, CProjectInfo::kNumber)},
        {QStringLiteral("子项"), Field(p, CProjectInfo::kSubproject)},
        {QStringLiteral("建设单位"), Field(p, CProjectInfo::kClient)},
        {QStringLiteral("设计阶段"), Field(p, CProjectInfo::kStage)},
        {QStringLiteral("版次"), Field(p, CProjectInfo::kRevision)},
        {QStringLiteral("日期"), facts.date},
        {QStringLiteral("计算规则"), RulesTitle(doc.rules)},
    };
    if (doc.boards.IsEmpty()) {
        rows.push_back({QStringLiteral("负荷回路 / 变压器"), QStringLiteral("%1 个 / %2 台")
                                                                 .arg(doc.loads.GetSize())
                                                                 .arg(doc.transformers.GetSize())});
    } else {
        rows.push_back(
            {QStringLiteral("负荷回路 / 配电箱 / 变压器"), QStringLiteral("%1 个 / %2 个 / %3 台")
                                                               .arg(doc.loads.GetSize())
                                                               .arg(doc.boards.GetSize())
                                                               .arg(doc.transformers.GetSize())});
    }
    rows.push_back({QStringLiteral("总有功功率 Ptot"),
                    Q(ShowFigure(FigureKind::Power, content.totals.active)) + " kW"});
    rows.push_back({QStringLiteral("总视在功率 Stot"),
                    Q(ShowFigure(FigureKind::Power, content.totals.apparent)) + " kV·A"});
    book.Table(factRows, rows, {.size = CBookLayout::kBodySize, .keepTogether = true});
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
void FormulaBlock(CBookLayout& book, const QString& heading, const QStringList& lines)
{
    book.Heading(heading, kSubsectionSize);
    for (const QString& line : lines) {
        book.Paragraph(line, CBookLayout::kBodySize, 200);
    }
}

QString U(const char16_t* text)
{
    return QString::fromUtf16(text);
}

/// Where the original rules differ from GB 51348-2019, one line each.
const QStringList& RuleDifferences()
{
    static const QStringList lines = {
        U(u"(1) 15 % 规则：原有规则以各相单相负荷电流与三相平均电流比较，任一相之差不小于平均值的 "
          u"15 % 时按最大一相的 3 倍计；GB 51348-2019 规则以单相负荷有功功率之和与三相负荷有功"
          u"功率之和比较，小于 15 % 时直接相加，否则按最大一相的 3 倍换算为等效三相负荷。"),
        U(u"(2) 无功补偿：原有规则 Qcc = Pc × (tanφ1 − tanφ2)，补偿前功率因数已高于目标时为负值"
          u"（反而增加感性负荷）；GB 51348-2019 规则按平均负荷计算，Qcc = α × Pc × (tanφ1 − "
          u"tanφ2)（《工业与民用供配电设计手册》（第四版）的形式），cosφ1 不低于目标时取 0。"),
        U(u"(3) 全部负荷总计：原有规则按回路归属栏的不同文字分组求和，多路供电的回路按每台变压器"
          u"各计一次；GB 51348-2019 规则每个回路只计一次。"),
        U(u"(4) 三相电流：原有规则三相回路与配电箱的计算电流取 1.732；GB 51348-2019 规则取 √3。"),
    };
    return lines;
}

/// The two cases of a document with fire roles, as the formulas state them.
QStringList FireCaseLines(bool boards)
{
    QStringList lines = {
        U(u"回路的“消防”栏为“消防”者仅在火灾时运行（消火栓泵、喷淋泵、排烟风机、正压送风机等），"
          u"为“火灾时切除”者在火灾时由火灾自动报警系统切除（厨房、景观照明等），"
          u"为空者平时与火灾时均运行。"),
        U(u"正常工况：计入除“消防”回路以外的全部回路；火灾工况：计入除“火灾时切除”回路以外的全部"
          u"回路。两种工况各按上述公式") +
            (boards ? U(u"自下而上逐级计算配电箱，再计算变压器（同时系数、无功补偿）。")
                    : U(u"计算变压器（同时系数、无功补偿）。")),
        U(u"实际补偿容量栏有值时两种工况均按该值扣除；为空时各工况按其所需补偿容量扣除。"),
        U(u"额定容量按两种工况中较大的补偿后视在功率选择：S = max(S2正常, S2火灾) / 预计负荷率，"
          u"Se 取标准容量系列中第一个大于 S 的值（任一工况的 S2 不是数值时记为 0）。"),
        U(u"实际负载率 = S2正常 / Se（变压器绝大部分时间在正常工况下运行）；"
          u"火灾负载率 = S2火灾 / Se。S2火灾大于 S2正常时取值工况为“火灾”，否则为“正常”。"),
    };
    if (boards) {
        lines.push_back(
            U(u"配电箱的取值工况为计算视在功率 Sjs 较大的工况，据以选择其进线开关与电缆。"));
    }
    lines.push_back(U(u"全部负荷总计不分工况，计入全部回路。"));
    return lines;
}

void BasisAndFormulas(CBookLayout& book, CSectionNumbers& sections, const CLoadCalDocument& doc,
                      const QString& comparisonSection, bool fire)
{
    const bool gb = doc.rules == CalcRules::GB51348_2019;
    const bool boards = !doc.boards.IsEmpty();
    book.Heading(sections.Next(QStringLiteral("计算依据")), kSectionSize, 1);
    book.Paragraph(QStringLiteral("1. 依据的标准与设计手册："));
    for (const char16_t* line : {
             u"GB 51348-2019《民用建筑电气设计标准》",
             u"GB 55024-2022《建筑电气与智能化通用规范》",
             u"GB 50052-2009《供配电系统设计规范》",
             u"GB 50054-2011《低压配电设计规范》",
             u"GB 50227-2017《并联电容器装置设计规范》",
             u"《工业与民用供配电设计手册》（第四版）",
         }) {
        book.Paragraph(U(line), CBookLayout::kBodySize, 300);
    }
    QString method =
        boards ? U(u"2. 计算方法：需要系数法。各回路的计算负荷由设备功率乘以需要系数求得；"
                   u"配电箱自下而上逐级计算，其计算负荷由所接回路与下级配电箱的计算负荷"
                   u"之和乘以同时系数求得；变压器的计算负荷由所属回路与配电箱的计算负荷"
                   u"之和乘以同时系数求得，再按目标功率因数计算无功补偿容量，"
                   u"并按预计负荷率选择变压器额定容量。")
               : U(u"2. 计算方法：需要系数法。各回路的计算负荷由设备功率乘以需要系数求得；"
                   u"变压器的计算负荷由所属回路的计算负荷之和乘以同时系数求得，"
                   u"再按目标功率因数计算无功补偿容量，并按预计负荷率选择变压器额定容量。");
    book.Paragraph(method);
    if (gb) {
        book.Paragraph(
            U(u"3. 计算规则：GB 51348-2019《民用建筑电气设计标准》。单相负荷有功功率之和"
              u"小于三相负荷的 15 % 时直接相加，否则按最大一相的 3 倍换算为等效三相负荷；"
              u"无功补偿按平均负荷计算（《工业与民用供配电设计手册》（第四版）的形式），"
              u"补偿前功率因数不低于目标时不补偿；三相电流取 √3；全部负荷总计中每个回路"
              u"只计一次。回路电流按回路工作电压计算，变压器低压侧电流按 0.38 kV 计算。"));
    } else {
        book.Paragraph(U(u"3. 计算规则：本程序原有计算规则（计算文件未选用 GB 51348-2019 规则）。"
                         u"回路电流按回路工作电压计算，变压器低压侧电流按 0.38 kV 计算。"
                         u"原有规则与 GB 51348-2019 规则有以下四处不同；本工程按 GB 51348-2019 "
                         u"规则重算的结果与本计算书结果的对照见第") +
                       comparisonSection + U(u"节。"));
        for (const QString& line : RuleDifferences()) {
            book.Paragraph(line, CBookLayout::kBodySize, 300);
        }
    }
    book.Paragraph(
        QStringLiteral("4. 符号与单位：Pe 设备功率（kW），Kx 需要系数，cosφ 功率因数，"
                       "Pjs、Qjs、Sjs、Ijs 计算有功功率（kW）、无功功率（kvar）、视在功率（kV·A）"
                       "和计算电流（A），K∑p、K∑q 有功、无功同时系数，负载率以百分数表示。"));
    book.Paragraph(QStringLiteral(
        "5. "
        "数值修约：计算以计算文件中保存的数值进行（回路、配电箱结果与分组合计保存为六位有效数字，"
        "变压器各步以全精度连续计算）；本计算书中功率修约至 0.01，系数修约至 0.01～0.001，"
        "电流修约至 0.1 A，负载率修约至 0.1 %。各式中代入的是修约后的数值，"
        "以之复算的结果与所示结果之差在修约误差以内。"));
    book.Space(200);
    book.Heading(sections.Next(QStringLiteral("计算公式")), kSectionSize, 1);
    int block = 0;
    const auto blockTitle = [&block](const QString& title) {
        return QString::number(++block) + QStringLiteral(". ") + title;
    };
    const QString k = gb ? QStringLiteral("√3") : QStringLiteral("1.732");
    FormulaBlock(book, blockTitle(QStringLiteral("回路计算")),
                 {
                     U(u"有功功率 Pjs = Kx × Pe（kW）"),
                     U(u"无功功率 Qjs = Pjs × tanφ = Pjs × √(1 − cos²φ) / cosφ（kvar；|cosφ| ≤ "
                       u"1×10⁻⁸ 时 Qjs = 0）"),
                     U(u"视在功率 Sjs = √(Pjs² + Qjs²)（kV·A）"),
                     U(u"三相回路（相位 \"L1,L2,L3,N\"）：Ijs = Pjs / (") + k +
                         U(u" × U × cosφ)（A；U 为回路工作电压，kV）"),
                     U(u"单相回路：Ijs = Pjs / (U × cosφ)（A）"),
                     U(u"两种回路在 |U × cosφ| ≤ 1×10⁻⁸ 时均取 Ijs = 0"),
                 });
    QStringList grouping;
    if (boards) {
        grouping.push_back(
            U(u"回路与配电箱的归属栏中任一名称（以 \",\" 分隔，不分大小写）与某配电箱或变压器名称"
              u"相同时，该回路或配电箱属于这一配电箱或变压器；可属于多个，分别计入各个。"
              u"配电箱在上级中以其相位、计算电流和计算负荷作为一个负荷计入。"));
    } else {
        grouping.push_back(
            U(u"归属变压器栏中任一名称（以 \",\" "
              u"分隔，不分大小写）与变压器名称相同的回路属于该变压器；"
              u"一个回路可属于多台变压器，分别计入各台。"));
    }
    grouping.push_back(
        U(u"相位为 \"L1,N\"、\"L2,N\"、\"L3,N\" 的负荷按相累加电流 IL1、IL2、IL3 和功率 "
          u"PL1、PL2、PL3（无功、设备功率同法）；相位为 \"L1,L2,L3,N\" 的负荷累加为 "
          u"P3φ；其他相位文字的负荷不计入合计。"));
    if (gb) {
        grouping.push_back(
            U(u"单相负荷有功功率之和 ΣP1φ = PL1 + PL2 + PL3。当 ΣP1φ 小于 0.15 × P3φ 时："
              u"ΣPjs = PL1 + PL2 + PL3 + P3φ；否则 ΣPjs = 3 × max(PL1, PL2, PL3) + P3φ"
              u"（无功、设备功率同法，判别均按有功功率）。没有单相负荷时 ΣPjs = P3φ。"));
    } else {
        grouping.push_back(
            U(u"平均电流 Ī = (IL1 + IL2 + IL3) / 3。当 |Ī − IL1|、|Ī − IL2|、|Ī − IL3| 均小于 "
              u"0.15 × Ī 时三相平衡：ΣPjs = PL1 + PL2 + PL3 + P3φ；否则 ΣPjs = 3 × max(PL1, PL2, "
              u"PL3) + P3φ。没有单相负荷时 ΣPjs = P3φ。"));
    }
    FormulaBlock(book,
                 blockTitle(boards ? QStringLiteral("分组合计（15 % 规则）")
                                   : QStringLiteral("按变压器分组合计（15 % 规则）")),
                 grouping);
    if (boards) {
        FormulaBlock(
            book, blockTitle(QStringLiteral("配电箱计算")),
            {
                U(u"配电箱自下而上逐级计算。三相配电箱（相位 \"L1,L2,L3,N\"）的所接负荷按上述 15 % "
                  u"规则合计；单相配电箱只接一相，所接负荷直接相加。"),
                U(u"计算有功功率 Pjs = K∑p × ΣPjs（kW）；计算无功功率 Qjs = K∑q × ΣQjs（kvar）"),
                U(u"视在功率 Sjs = √(Pjs² + Qjs²)（kV·A）；功率因数 cosφ = Pjs / Sjs（Sjs = 0 时为 "
                  u"0）"),
                U(u"三相配电箱 Ijs = Sjs / (") + k +
                    U(u" × 0.38)（A）；单相配电箱 Ijs = Sjs / 0.22（A）"),
                U(u"没有所接负荷的配电箱各值为 0；归属成环的配电箱无法计算，不计入任何合计。"),
            });
    }
    QStringList transformer = {
        U(u"计算有功功率 Pc = K∑p × ΣPjs（kW）；计算无功功率 Qc = K∑q × ΣQjs（kvar）"),
        U(u"补偿前功率因数 cosφ1 = √(1 / (1 + (β × Qc / (α × Pc))²))（α、β 为有功、无功补偿系数；"
          u"|α × Pc| ≤ 1×10⁻⁸ 时 cosφ1 = 0）"),
    };
    transformer.push_back(
        gb ? U(u"补偿容量 Qcc = α × Pc × (tanφ1 − tanφ2)（kvar；cosφ2 为目标功率"
               u"因数；cosφ1 不低于 cosφ2 时 Qcc = 0）")
           : U(u"补偿容量 Qcc = Pc × (tanφ1 − tanφ2)（kvar；cosφ2 为目标功率因数）"));
    transformer.append({
        U(u"实际补偿容量 Qb：\"实际补偿容量\"栏的值，其绝对值小于 1×10⁻⁹（含空白）时取 Qb = Qcc"),
        U(u"补偿后无功功率 Q2 = Qc − Qb；视在功率 S2 = √(Pc² + Q2²)（kV·A）；"
          u"计算电流 I2 = S2 / (√3 × 0.38)（A）"),
        U(u"所需容量 S = S2 / 预计负荷率；额定容量 Se 取标准容量系列中第一个大于 S 的值，"
          u"S ≥ 10000 kV·A 时记为 0"),
        U(u"标准容量系列（kV·A）：30、50、63、80、100、125、160、200、250、315、400、500、630、"
          u"800、1000、1250、1600、2000、2500、3150、4000、5000、6300、8000、10000"),
        U(u"实际负载率 = S2 / Se（Se = 0 时为 0）；补偿后实际功率因数 cosφ2' = Pc / S2"),
    });
    if (fire) {
        // The capacity is chosen from both cases: the next block says how.
        transformer[transformer.size() - 3] += U(u"（有火灾工况时按下条取两种工况中较大的 S2）");
    }
    FormulaBlock(book, blockTitle(QStringLiteral("变压器计算、无功补偿与容量选择")), transformer);
    if (fire) {
        FormulaBlock(book, blockTitle(QStringLiteral("正常工况与火灾工况")), FireCaseLines(boards));
    }
    QStringList totals;
    if (gb) {
        totals.push_back(
            U(u"总计不计同时系数与补偿，每个回路只计一次（不论其归属几台变压器）："
              u"Pe,tot = ΣPe，Ptot = ΣPjs，Qtot = ΣQjs（全部回路之和）。"));
    } else {
        totals.push_back(
            U(u"总计不计同时系数与补偿：按回路的归属栏文字（整栏，区分大小写）分组，各组按 15 % "
              u"规则求合计后相加，得 Pe,tot、Ptot、Qtot。归属栏为多个名称（如 \"T1,T2\"）的整栏文字"
              u"自成一组但其合计为 0，这类回路只在某个名称单独作为归属文字出现时计入。"));
    }
    if (boards) {
        totals.push_back(U(u"配电箱不计入总计：总计只由回路求得。"));
    }
    totals.push_back(
        U(u"Stot = √(Ptot² + Qtot²)（kV·A）；cosφtot = Ptot / Stot（Stot ≤ 1×10⁻⁸ 时为 "
          u"0）；Itot = Stot / (√3 × 0.38)（A）"));
    FormulaBlock(book, blockTitle(QStringLiteral("全部负荷总计")), totals);
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

/// What a table that lists circuits says under it about their load types:
/// the sources of the types its circuits name, and the section that lists
/// the library rows.
struct TypeNotes {
    const BookContent& content;
    QString section;  ///< the numeral of the section of sources
};

/// The note under a table of circuits: the types its circuits name, grouped
/// by source, and where the rows used are listed; nothing when none names a type.
template <class Circuits>
void TypeNote(CBookLayout& book, const CLoadArray& loads, const Circuits& circuits,
              const TypeNotes& notes)
{
    std::vector<std::pair<std::wstring, QStringList>> bySource;
    for (int i : circuits) {
        const std::wstring& source = notes.content.typeSources.at(static_cast<size_t>(i));
        if (source.empty()) {
            continue;
        }
        const QString name = Q(Trim(loads[i].m_strLoadType));
        auto at = std::find_if(bySource.begin(), bySource.end(),
                               [&](const auto& entry) { return entry.first == source; });
        if (at == bySource.end()) {
            bySource.push_back({source, {}});
            at = std::prev(bySource.end());
        }
        if (!at->second.contains(name)) {
            at->second.push_back(name);
        }
    }
    if (bySource.empty()) {
        return;
    }
    QString text = QStringLiteral("注：填有负荷类型的回路，需要系数 Kx 与功率因数 cosφ 的出处——");
    for (size_t k = 0; k < bySource.size(); ++k) {
        text += (k ? QStringLiteral("；") : QString()) +
                bySource[k].second.join(QStringLiteral("、")) + QStringLiteral("：") +
                Q(bySource[k].first);
    }
    text += QStringLiteral("。各类型的取值见第%1节。").arg(notes.section);
    book.Space(60);
    book.Paragraph(text, CBookLayout::kTableSize);
}

/// The library rows the document used: each type (or tier) with its scale,
/// Kx range, typical Kx, cos φ and source.
void TypeSources(CBookLayout& book, CSectionNumbers& sections, const BookContent& content)
{
    book.NewPage(true);
    book.Heading(sections.Next(QStringLiteral("负荷类型及其出处")), kSectionSize, 1);
    book.Paragraph(QStringLiteral(
        "下表列出本计算书中各回路所填负荷类型在负荷类型库中的取值及出处（分档类型列出所用的档）。"
        "典型 Kx 为出处所给范围的中点（保留两位小数），回路的需要系数未填时按典型 Kx 填入；"
        "出处给出 cosφ 范围时取其下限。注明“转引自公开摘录，待核对原文”的数值尚待与原图集或"
        "标准核对；“用户自定义”为用户负荷类型库中未注明出处的类型。"));
    std::vector<QStringList> rows;
    for (const BookTypeRow& r : content.types) {
        rows.push_back({Q(r.name), Q(r.scale), Q(r.kxRange), Q(r.kx), Q(r.cos), Q(r.source),
                        r.known ? Q(r.origin) : QStringLiteral("—"), QString::number(r.circuits)});
    }
    book.Table({{QStringLiteral("负荷类型"), 1.2},
                {QStringLiteral("适用范围 / 分档"), 2},
                {QStringLiteral("Kx 范围"), 0.9},
                {QStringLiteral("典型 Kx"), 0.7},
                {QStringLiteral("cosφ（tanφ）"), 1},
                {QStringLiteral("出处"), 5},
                {QStringLiteral("来源"), 0.6},
                {QStringLiteral("回路数"), 0.6}},
               rows, {});
}

using ExtraFields = std::array<bool, CLoadCalData::kExtraFieldCount>;

/// The columns of the circuit fields beyond the original thirteen that the
/// document uses, after a table's own.
void AppendExtraColumns(std::vector<BookColumn>& columns, const ExtraFields& used)
{
    constexpr double kWeights[] = {1.3, 0.8, 0.9, 1.3};
    for (size_t k = 0; k < used.size(); ++k) {
        if (used[k]) {
            columns.push_back({Q(kIssuedCircuitExtraColumns[k].header), kWeights[k]});
        }
    }
}

/// A circuit's cells of those columns (empty cells for a row that is not a circuit).
void AppendExtraCells(QStringList& row, const CLoadCalData* c, const ExtraFields& used)
{
    for (size_t k = 0; k < used.size(); ++k) {
        if (used[k]) {
            row.push_back(c ? Q(c->AnyFieldAt(kIssuedCircuitExtraColumns[k].field)) : QString());
        }
    }
}

void LoadTable(CBookLayout& book, CSectionNumbers& sections, const CLoadArray& loads,
               const SummaryTotals& totals, bool boards, const TypeNotes& notes)
{
    const ExtraFields used = UsedCircuitExtraFields(loads);
    book.NewPage(true);
    book.Heading(sections.Next(QStringLiteral("负荷计算表")), kSectionSize, 1);
    std::vector<QStringList> rows;
    rows.reserve(static_cast<size_t>(loads.GetSize()) + 1);
    for (const CLoadCalData& c : loads) {
        QStringList row;
        for (size_t k = 0; k < kLoadColumns.size(); ++k) {
            row.push_back(Figure(kLoadColumnKinds[k], c.FieldAt(kLoadColumns[k].field)));
        }
        AppendExtraCells(row, &c, used);
        rows.push_back(std::move(row));
    }
    QStringList total = {"",
                         QStringLiteral("总计"),
                         "",
                         "",
                         Figure(FigureKind::Power, totals.installed),
                         "",
                         "",
                         Figure(FigureKind::Factor, totals.powerFactor),
                         Figure(FigureKind::Power, totals.active),
                         Figure(FigureKind::Power, totals.reactive),
                         Figure(FigureKind::Power, totals.apparent),
                         Figure(FigureKind::Current, totals.current),
                         ""};
    AppendExtraCells(total, nullptr, used);
    rows.push_back(std::move(total));
    std::vector<BookColumn> columns =
        Columns(kIssuedLoadHeaders, {0.8, 0.9, 1.7, 1.1, 1, 1, 1, 1, 1, 1, 1.1, 1, 1.6});
    if (boards) {
        columns.back().title = Q(kIssuedOwnerHeader);  // an owner may be a board
    }
    AppendExtraColumns(columns, used);
    book.Table(columns, rows, {.shadeLastRow = true});
    std::vector<int> all(static_cast<size_t>(loads.GetSize()));
    std::iota(all.begin(), all.end(), 0);
    TypeNote(book, loads, all, notes);
}

/// A table of the fire case of the boards or the transformers: the name
/// (and, for transformers, the rated capacity both cases chose), then the
/// fire columns.
template <class Record, size_t N>
void FireTable(CBookLayout& book, const QString& caption, const CArray<Record>& records,
               std::vector<BookColumn> columns, const std::array<IssuedColumn, N>& fire,
               bool withCapacity)
{
    book.Space(150);
    book.Reserve(1200);  // the caption stays with its table
    book.Paragraph(caption, kSubsectionSize);
    for (const IssuedColumn& c : fire) {
        columns.push_back({Q(c.header), 1});
    }
    std::vector<QStringList> rows;
    for (const Record& r : records) {
        QStringList row = {Q(r.m_strName)};
        if constexpr (std::is_same_v<Record, CTransformerCalData>) {
            if (withCapacity) {
                row.push_back(Figure(FigureKind::Capacity, r.m_strRatedCapacity));
            }
        }
        for (const IssuedColumn& c : fire) {
            row.push_back(Figure(c.kind, r.AnyFieldAt(c.field)));
        }
        rows.push_back(std::move(row));
    }
    book.Table(columns, rows, {});
}

void BoardTable(CBookLayout& book, CSectionNumbers& sections, const CBoardArray& boards, bool fire)
{
    book.Heading(sections.Next(QStringLiteral("配电箱计算表")), kSectionSize, 1);
    std::vector<QStringList> rows;
    rows.reserve(static_cast<size_t>(boards.GetSize()));
    for (const CBoardCalData& b : boards) {
        QStringList row;
        for (size_t k = 0; k < kBoardColumns.size(); ++k) {
            row.push_back(Figure(kBoardColumnKinds[k], b.FieldAt(kBoardColumns[k].field)));
        }
        rows.push_back(std::move(row));
    }
    book.Table(Columns(kIssuedBoardHeaders, {1.3, 1.1, 1, 1, 1, 1, 1, 1.1, 1, 1, 1.8}), rows, {});
    if (fire) {
        FireTable(book, QStringLiteral("配电箱火灾工况（取值工况为 Sjs 较大的工况）"), boards,
                  {{Q(kIssuedBoardHeaders[0]), 1.3}}, kIssuedBoardFireColumns, false);
    }
}

void TransformerTable(CBookLayout& book, CSectionNumbers& sections,
                      const CTransformerArray& transformers, bool fire)
{
    book.Heading(sections.Next(QStringLiteral("变压器计算表")), kSectionSize, 1);
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
    if (fire) {
        FireTable(book, QStringLiteral("变压器火灾工况（额定容量按两种工况中较大的 S2 选择）"),
                  transformers,
                  {{Q(kIssuedTransformerHeaders[0]), 1.2}, {Q(kIssuedTransformerHeaders[1]), 1}},
                  kIssuedTransformerFireColumns, true);
    }
}

/// The columns of a group's members (circuits, then boards): the load table's
/// without the apparent power and the voltage (the steps need the rest).
constexpr std::array<size_t, 10> kMemberColumns = {0, 1, 2, 3, 4, 6, 7, 8, 9, 11};

std::vector<BookColumn> MemberColumns()
{
    const std::vector<double> weights = {0.8, 0.9, 1.6, 1.1, 1, 0.9, 1, 1, 1, 1};
    std::vector<BookColumn> columns;
    for (size_t k = 0; k < kMemberColumns.size(); ++k) {
        columns.push_back({Q(kIssuedLoadHeaders[kMemberColumns[k]]), weights[k]});
    }
    return columns;
}

/// A sum row of a member table: what it sums and the three sums ("%G").
struct SumRow {
    QString label;
    const std::wstring& installed;
    const std::wstring& active;
    const std::wstring& reactive;
};

/// The sum rows of a group: under the 15 % rule, or per case with fire roles.
template <class Group>
std::vector<SumRow> SumRows(const Group& g)
{
    if (!g.fire) {
        return {{QStringLiteral("（按 15 % 规则）"), g.installedSum, g.activeSum, g.reactiveSum}};
    }
    return {
        {QStringLiteral("正常工况"), g.installedSum, g.activeSum, g.reactiveSum},
        {QStringLiteral("火灾工况"), g.fire->installedSum, g.fire->activeSum, g.fire->reactiveSum}};
}

/// A group's member table: its circuits (with the circuit fields beyond the
/// original thirteen the document uses: type, class, fire role), its boards
/// (name, "配电箱", phase, ΣPe, cos φ, Pjs, Qjs, Ijs) and the sums under the
/// 15 % rule, of each case with fire roles.
void MemberTable(CBookLayout& book, const CLoadCalDocument& doc, const std::vector<int>& circuits,
                 const std::vector<int>& boards, const std::vector<SumRow>& sums,
                 const TypeNotes& notes)
{
    const ExtraFields used = UsedCircuitExtraFields(doc.loads);
    std::vector<QStringList> rows;
    for (int i : circuits) {
        const CLoadCalData& c = doc.loads[i];
        QStringList row;
        for (size_t k : kMemberColumns) {
            row.push_back(Figure(kLoadColumnKinds[k], c.FieldAt(kLoadColumns[k].field)));
        }
        AppendExtraCells(row, &c, used);
        rows.push_back(std::move(row));
    }
    for (int i : boards) {
        const CBoardCalData& b = doc.boards[i];
        QStringList row = {Q(b.m_strName),
                           "",
                           QStringLiteral("配电箱"),
                           Q(b.m_strPhase),
                           Figure(FigureKind::Power, b.m_strRatedPower),
                           "",
                           Figure(FigureKind::Factor, b.m_strPowerFactor),
                           Figure(FigureKind::Power, b.m_strCalcP),
                           Figure(FigureKind::Power, b.m_strCalcQ),
                           Figure(FigureKind::Current, b.m_strCalcI)};
        AppendExtraCells(row, nullptr, used);
        rows.push_back(std::move(row));
    }
    for (const SumRow& sum : sums) {
        QStringList row = {"",
                           QStringLiteral("合计"),
                           sum.label,
                           "",
                           Figure(FigureKind::Power, sum.installed),
                           "",
                           "",
                           Figure(FigureKind::Power, sum.active),
                           Figure(FigureKind::Power, sum.reactive),
                           ""};
        AppendExtraCells(row, nullptr, used);
        rows.push_back(std::move(row));
    }
    std::vector<BookColumn> columns = MemberColumns();
    if (std::find(used.begin(), used.end(), true) != used.end()) {
        columns[3].weight = 1.45;  // the narrower share keeps "L1,L2,L3,N" on one line
    }
    AppendExtraColumns(columns, used);
    book.Table(columns, rows, {.shadeLastRow = true});
    TypeNote(book, doc.loads, circuits, notes);
}

/// The member boards' fire figures, which the fire case's sums take
/// (name, phase, ΣPe, cos φ, Pjs, Qjs, Ijs of the fire case).
void MemberBoardsInFire(CBookLayout& book, const CLoadCalDocument& doc,
                        const std::vector<int>& boards)
{
    if (boards.empty()) {
        return;
    }
    std::vector<QStringList> rows;
    for (int i : boards) {
        const CBoardCalData& b = doc.boards[i];
        rows.push_back({Q(b.m_strName), Q(b.m_strPhase),
                        Figure(FigureKind::Power, b.m_strFireRatedPower),
                        Figure(FigureKind::Factor, b.m_strFirePowerFactor),
                        Figure(FigureKind::Power, b.m_strFireCalcP),
                        Figure(FigureKind::Power, b.m_strFireCalcQ),
                        Figure(FigureKind::Current, b.m_strFireCalcI)});
    }
    book.Paragraph(QStringLiteral("所接配电箱按其火灾工况的计算负荷计入："));
    book.Table({{QStringLiteral("配电箱名称"), 1.3},
                {QStringLiteral("相位"), 1.1},
                {QStringLiteral("火灾设备功率 ΣPe (kW)"), 1},
                {QStringLiteral("火灾功率因数 cosφ"), 1},
                {QStringLiteral("火灾有功功率 Pjs (kW)"), 1},
                {QStringLiteral("火灾无功功率 Qjs (kvar)"), 1},
                {QStringLiteral("火灾计算电流 Ijs (A)"), 1}},
               rows, {});
}

void Steps(CBookLayout& book, const std::vector<BookStep>& steps)
{
    for (const BookStep& step : steps) {
        book.LabelledParagraph(Q(step.label), 1250, Q(step.text));
    }
}

bool SameSteps(const std::vector<BookStep>& a, const std::vector<BookStep>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const BookStep& x, const BookStep& y) {
                          return x.label == y.label && x.text == y.text;
                      });
}

/// The heading of the normal case's steps in a document with fire roles.
const QString kNormalCaseTitle = QStringLiteral("正常工况（不计“消防”回路）：");
/// The heading of the fire case's steps.
const QString kFireCaseTitle = QStringLiteral("火灾工况（不计“火灾时切除”回路，计入“消防”回路）：");

QString MembersSentence(const CLoadCalDocument& doc, size_t circuits, size_t boards)
{
    if (doc.boards.IsEmpty()) {
        return QStringLiteral("所属回路 %1 个。").arg(circuits);
    }
    return QStringLiteral("所接回路 %1 个、配电箱 %2 个。").arg(circuits).arg(boards);
}

QString Joined(const std::vector<std::wstring>& names)
{
    QStringList parts;
    for (const std::wstring& n : names) {
        parts.push_back(Q(n));
    }
    return parts.join(QStringLiteral("、"));
}

/// "1#变压器 → ALZ1 → 1AL": the way the book's walk reached a board; a deep
/// chain keeps its two ends.
QString SupplyPath(const CLoadCalDocument& doc, const BookContent& content,
                   const std::vector<int>& placeOf, const BookBoard& b)
{
    std::vector<QString> names{Q(doc.boards[b.index].m_strName)};
    constexpr size_t kShown = 8;
    size_t skipped = 0;
    for (int p = b.parent; p >= 0;) {
        if (names.size() < kShown) {
            names.push_back(Q(doc.boards[p].m_strName));
        } else {
            ++skipped;
        }
        const int at = placeOf[static_cast<size_t>(p)];
        p = at >= 0 ? content.boards[static_cast<size_t>(at)].parent : -1;
    }
    if (skipped > 0) {
        names.back() = QStringLiteral("…");
    }
    if (b.transformer >= 0) {
        names.push_back(Q(doc.transformers[b.transformer].m_strName));
    }
    QStringList ordered;
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
        ordered.push_back(*it);
    }
    return ordered.join(QStringLiteral(" → "));
}

void BoardSections(CBookLayout& book, CSectionNumbers& sections, const CLoadCalDocument& doc,
                   const BookContent& content, const TypeNotes& notes)
{
    book.NewPage(false);
    book.Heading(sections.Next(QStringLiteral("各配电箱计算")), kSectionSize, 1);
    std::vector<int> placeOf(static_cast<size_t>(doc.boards.GetSize()), -1);
    for (size_t k = 0; k < content.boards.size(); ++k) {
        placeOf[static_cast<size_t>(content.boards[k].index)] = static_cast<int>(k);
    }
    const CBoardGraph graph(doc.boards);
    int number = 0;
    for (const BookBoard& b : content.boards) {
        const CBoardCalData& board = doc.boards[b.index];
        if (number > 0) {
            book.NewPage(false);
        }
        book.Heading(
            QStringLiteral("%1. 配电箱 %2 负荷计算表").arg(++number).arg(Q(board.m_strName)),
            kSubsectionSize, 2);
        if (b.onCycle) {
            book.Paragraph(
                QStringLiteral("归属：%1。本配电箱与 %2 的归属成环，无法计算，"
                               "不计入任何合计。")
                    .arg(Q(board.m_strOwner))
                    .arg(Q(CycleText(BoardNames(doc.boards, graph.CycleThrough(b.index))))));
            continue;
        }
        if (b.transformer >= 0) {
            book.Paragraph(QStringLiteral("供电路径：") + SupplyPath(doc, content, placeOf, b));
        } else {
            book.Paragraph(
                QStringLiteral("归属：%1。本配电箱未接入任何变压器，不计入变压器的合计。")
                    .arg(board.m_strOwner.empty() ? QStringLiteral("（空）")
                                                  : Q(board.m_strOwner)));
        }
        if (b.owners.size() > 1) {
            book.Paragraph(QStringLiteral("本配电箱由 %1 多路供电，其计算负荷分别计入各上级的合计；"
                                          "本计算书只在此列出一次。")
                               .arg(Joined(b.owners)));
        }
        book.Paragraph(QStringLiteral("相位 %1；有功同时系数 K∑p = %2，无功同时系数 K∑q = %3。%4")
                           .arg(Q(board.m_strPhase), Figure(FigureKind::Factor, board.m_strKp),
                                Figure(FigureKind::Factor, board.m_strKq),
                                MembersSentence(doc, b.circuits.size(), b.boards.size())));
        MemberTable(book, doc, b.circuits, b.boards, SumRows(b), notes);
        if (b.fire) {
            book.Paragraph(kNormalCaseTitle);
        }
        Steps(book, b.steps);
        if (b.fire) {
            book.Space(100);
            if (SameSteps(b.steps, b.fire->steps)) {
                book.Paragraph(kFireCaseTitle +
                               QStringLiteral("所计负荷与正常工况相同，各步同上。"));
            } else {
                book.Paragraph(kFireCaseTitle);
                MemberBoardsInFire(book, doc, b.boards);
                Steps(book, b.fire->steps);
            }
        }
        book.Space(150);
        std::vector<BookColumn> result;
        QStringList row;
        QStringList fireRow;
        if (b.fire) {
            result.push_back({QStringLiteral("工况"), 1});
            row.push_back(QStringLiteral("正常"));
            fireRow.push_back(QStringLiteral("火灾"));
        }
        // ΣPe, Pjs, Qjs, Sjs, cos φ, Ijs in both cases' fields.
        const std::array<std::pair<size_t, int>, 6> figures = {{
            {2, CBoardCalData::kFireRatedPower},
            {5, CBoardCalData::kFireCalcP},
            {6, CBoardCalData::kFireCalcQ},
            {7, CBoardCalData::kFireCalcS},
            {8, CBoardCalData::kFirePowerFactor},
            {9, CBoardCalData::kFireCalcI},
        }};
        for (const auto& [k, fireField] : figures) {
            result.push_back({Q(kIssuedBoardHeaders[k]), 1});
            row.push_back(Figure(kBoardColumnKinds[k], board.FieldAt(kBoardColumns[k].field)));
            fireRow.push_back(Figure(kBoardColumnKinds[k], board.AnyFieldAt(fireField)));
        }
        book.Paragraph(QStringLiteral("计算结果："));
        std::vector<QStringList> rows = {row};
        if (b.fire) {
            rows.push_back(fireRow);
        }
        book.Table(result, rows, {.size = CBookLayout::kBodySize, .keepTogether = true});
        if (b.fire) {
            book.LabelledParagraph(Q(b.governing.label), 1250, Q(b.governing.text));
        }
    }
}

/// Both cases of a transformer side by side, as the capacity is chosen from them.
void CaseTable(CBookLayout& book, const CTransformerCalData& t, const BookTransformer& b)
{
    const BookTransformerFire& f = *b.fire;
    const auto row = [&](const QString& name, const std::wstring& active,
                         const std::wstring& reactive, const std::wstring& pc, double qc,
                         const std::wstring& qcc, const std::wstring& q2, const std::wstring& s2,
                         const std::wstring& i2, const std::wstring& rate) {
        return QStringList{name,
                           Figure(FigureKind::Power, active),
                           Figure(FigureKind::Power, reactive),
                           Figure(FigureKind::Power, pc),
                           Q(ShowValue(FigureKind::Power, qc)),
                           Figure(FigureKind::Power, qcc),
                           Figure(FigureKind::Power, q2),
                           Figure(FigureKind::Power, s2),
                           Figure(FigureKind::Current, i2),
                           Figure(FigureKind::Percent, rate)};
    };
    book.Table(
        {{QStringLiteral("工况"), 0.8},
         {QStringLiteral("ΣPjs (kW)"), 1},
         {QStringLiteral("ΣQjs (kvar)"), 1},
         {QStringLiteral("Pc (kW)"), 1},
         {QStringLiteral("Qc (kvar)"), 1},
         {QStringLiteral("Qcc (kvar)"), 1},
         {QStringLiteral("Q2 (kvar)"), 1},
         {QStringLiteral("S2 (kV·A)"), 1},
         {QStringLiteral("I2 (A)"), 1},
         {QStringLiteral("负载率 (%)"), 1}},
        {row(QStringLiteral("正常"), b.activeSum, b.reactiveSum, t.m_strCalcP, b.reactiveLoad,
             t.m_strCompCapacity, t.m_strCalcQ, t.m_strCalcS, t.m_strCalcI, t.m_strActualLoadRate),
         row(QStringLiteral("火灾"), f.activeSum, f.reactiveSum, t.m_strFireCalcP, f.reactiveLoad,
             t.m_strFireCompCapacity, t.m_strFireCalcQ, t.m_strFireCalcS, t.m_strFireCalcI,
             t.m_strFireLoadRate)},
        {.keepTogether = true});
}

void TransformerSections(CBookLayout& book, CSectionNumbers& sections, const CLoadCalDocument& doc,
                         const BookContent& content, const TypeNotes& notes)
{
    book.NewPage(false);
    book.Heading(sections.Next(QStringLiteral("各变压器计算")), kSectionSize, 1);
    const bool boards = !doc.boards.IsEmpty();
    int number = 0;
    for (const BookTransformer& b : content.transformers) {
        const CTransformerCalData& t = doc.transformers[b.index];
        book.Heading(QStringLiteral("%1. 变压器 %2").arg(++number).arg(Q(t.m_strName)),
                     kSubsectionSize, 2);
        book.Paragraph(MembersSentence(doc, b.circuits.size(), b.boards.size()));
        MemberTable(book, doc, b.circuits, b.boards, SumRows(b), notes);
        if (b.fire) {
            book.Paragraph(kNormalCaseTitle);
        }
        Steps(book, b.steps);
        if (b.fire) {
            book.Space(100);
            book.Paragraph(kFireCaseTitle);
            MemberBoardsInFire(book, doc, b.boards);
            Steps(book, b.fire->steps);
            book.Space(100);
            book.Reserve(1800);  // the heading stays with its table
            book.Paragraph(QStringLiteral("额定容量按两种工况中较大的补偿后视在功率选择："));
            CaseTable(book, t, b);
            Steps(book, b.sizing);
        }
        book.Space(150);
        QString caption = boards
                              ? QStringLiteral(
                                    "变压器 %1 各相电流：单相负荷计入所接的相，三相负荷的电流计入"
                                    "每一相（所接回路与配电箱的计算电流之和，配电箱已计其同时系数；"
                                    "未计变压器的同时系数与补偿）")
                              : QStringLiteral(
                                    "变压器 %1 各相电流：单相回路计入所接的相，三相回路的电流"
                                    "计入每一相（回路计算电流之和，未计同时系数与补偿）");
        if (b.fire) {
            caption.replace(QStringLiteral("各相电流"), QStringLiteral("正常工况各相电流"));
        }
        book.BarChart(caption.arg(Q(t.m_strName)), QStringLiteral("电流 I (A)"),
                      {QStringLiteral("L1"), QStringLiteral("L2"), QStringLiteral("L3")},
                      {b.phaseCurrents[0], b.phaseCurrents[1], b.phaseCurrents[2]}, 3200, 1100);
    }
}

void Totals(CBookLayout& book, CSectionNumbers& sections, const SummaryTotals& t, CalcRules rules)
{
    book.Heading(sections.Next(QStringLiteral("全部负荷总计")), kSectionSize, 1);
    const QString pe = Figure(FigureKind::Power, t.installed);
    const QString p = Figure(FigureKind::Power, t.active);
    const QString q = Figure(FigureKind::Power, t.reactive);
    const QString s = Figure(FigureKind::Power, t.apparent);
    const bool gb = rules == CalcRules::GB51348_2019;
    const std::vector<std::pair<QString, QString>> lines = {
        {QStringLiteral("总设备功率"),
         (gb ? QStringLiteral("Pe,tot = ΣPe = ") : QStringLiteral("Pe,tot = ")) + pe + " kW"},
        {QStringLiteral("总有功功率"),
         (gb ? QStringLiteral("Ptot = ΣPjs = ") : QStringLiteral("Ptot = ")) + p + " kW"},
        {QStringLiteral("总无功功率"),
         (gb ? QStringLiteral("Qtot = ΣQjs = ") : QStringLiteral("Qtot = ")) + q + " kvar"},
        {QStringLiteral("总视在功率"),
         "Stot = √(Ptot² + Qtot²) = √(" + p + "² + " + q + "²) = " + s + " kV·A"},
        {QStringLiteral("总功率因数"), "cosφtot = Ptot / Stot = " + p + " / " + s + " = " +
                                           Figure(FigureKind::Factor, t.powerFactor)},
        {QStringLiteral("总计算电流"), "Itot = Stot / (√3 × 0.38) = " + s + " / (√3 × 0.38) = " +
                                           Figure(FigureKind::Current, t.current) + " A"},
    };
    if (gb) {
        book.Paragraph(QStringLiteral("每个回路只计一次（不论其归属）。"));
    }
    for (const auto& [label, text] : lines) {
        book.LabelledParagraph(label, 1250, text);
    }
}

/// One row of a comparison: what, the figure of this book, the figure
/// under GB 51348-2019 and their difference, each as shown.
QStringList CompareRow(const QString& what, FigureKind kind, const std::wstring& ours,
                       const std::wstring& theirs)
{
    const std::optional<double> a = ReadTypedNumber(ours.empty() ? L"0" : ours);
    const std::optional<double> b = ReadTypedNumber(theirs.empty() ? L"0" : theirs);
    QString difference = QStringLiteral("—");
    if (a && b) {
        difference = Q(ShowValue(kind, *b - *a));
    }
    return {what, Figure(kind, ours.empty() ? L"0" : ours),
            Figure(kind, theirs.empty() ? L"0" : theirs), difference};
}

/// The height a transformer's comparison (caption and eleven rows) takes.
constexpr double kComparisonHeight = 2800;

void Comparison(CBookLayout& book, CSectionNumbers& sections, const CLoadCalDocument& doc,
                const BookContent& content)
{
    const BookComparison& other = *content.comparison;
    book.NewPage(false);
    book.Heading(sections.Next(QStringLiteral("与 GB 51348-2019 规则的对照")), kSectionSize, 1);
    book.Paragraph(QStringLiteral(
        "本计算书按本程序原有计算规则计算。下表列出同一计算文件按 GB 51348-2019 规则重算"
        "（回路、配电箱、变压器与总计均按该规则重新计算，计算文件本身不变）的结果，"
        "与本计算书的结果对照，差值为 GB 51348-2019 "
        "规则的结果减去本计算书的结果。两者的不同之处："));
    for (const QString& line : RuleDifferences()) {
        book.Paragraph(line, CBookLayout::kBodySize, 300);
    }
    const std::vector<BookColumn> columns = {{QStringLiteral("项目"), 2.2},
                                             {QStringLiteral("本计算书（原有规则）"), 1.3},
                                             {QStringLiteral("按 GB 51348-2019 规则"), 1.3},
                                             {QStringLiteral("差值"), 1}};
    for (size_t m = 0; m < content.transformers.size() && m < other.transformers.size(); ++m) {
        const BookTransformer& a = content.transformers[m];
        const BookTransformer& b = other.transformers[m];
        const CTransformerCalData& ta = doc.transformers[a.index];
        const CTransformerCalData& tb = other.document.transformers[b.index];
        book.Space(100);
        // The caption stays with its table.
        book.Reserve(content.fire ? kComparisonHeight * 1.3 : kComparisonHeight);
        book.Paragraph(QStringLiteral("变压器 %1").arg(Q(ta.m_strName)), kSubsectionSize);
        std::vector<QStringList> rows = {
            CompareRow(QStringLiteral("有功功率合计 ΣPjs (kW)"), FigureKind::Power, a.activeSum,
                       b.activeSum),
            CompareRow(QStringLiteral("无功功率合计 ΣQjs (kvar)"), FigureKind::Power, a.reactiveSum,
                       b.reactiveSum),
            CompareRow(QStringLiteral("计算有功功率 Pc (kW)"), FigureKind::Power, ta.m_strCalcP,
                       tb.m_strCalcP),
            CompareRow(QStringLiteral("计算无功功率 Qc (kvar)"), FigureKind::Power,
                       FormatG(a.reactiveLoad), FormatG(b.reactiveLoad)),
            CompareRow(QStringLiteral("补偿前功率因数 cosφ1"), FigureKind::Factor,
                       ta.m_strCosBefore, tb.m_strCosBefore),
            CompareRow(QStringLiteral("补偿容量 Qcc (kvar)"), FigureKind::Power,
                       ta.m_strCompCapacity, tb.m_strCompCapacity),
            CompareRow(QStringLiteral("补偿后无功 Q2 (kvar)"), FigureKind::Power, ta.m_strCalcQ,
                       tb.m_strCalcQ),
            CompareRow(QStringLiteral("补偿后视在功率 S2 (kV·A)"), FigureKind::Power, ta.m_strCalcS,
                       tb.m_strCalcS),
            CompareRow(QStringLiteral("补偿后电流 I2 (A)"), FigureKind::Current, ta.m_strCalcI,
                       tb.m_strCalcI),
            CompareRow(QStringLiteral("额定容量 Se (kV·A)"), FigureKind::Capacity,
                       ta.m_strRatedCapacity, tb.m_strRatedCapacity),
            CompareRow(QStringLiteral("实际负载率 (%)"), FigureKind::Percent,
                       ta.m_strActualLoadRate, tb.m_strActualLoadRate),
        };
        if (content.fire) {
            rows.push_back(CompareRow(QStringLiteral("火灾补偿后视在功率 S2 (kV·A)"),
                                      FigureKind::Power, ta.m_strFireCalcS, tb.m_strFireCalcS));
            rows.push_back(CompareRow(QStringLiteral("火灾负载率 (%)"), FigureKind::Percent,
                                      ta.m_strFireLoadRate, tb.m_strFireLoadRate));
            rows.push_back({QStringLiteral("取值工况"), Q(ta.m_strGoverningCase),
                            Q(tb.m_strGoverningCase), QStringLiteral("—")});
        }
        book.Table(columns, rows, {.size = CBookLayout::kBodySize, .keepTogether = true});
    }
    book.Space(100);
    book.Reserve(kComparisonHeight * 0.65);
    book.Paragraph(QStringLiteral("全部负荷总计"), kSubsectionSize);
    const SummaryTotals& ta = content.totals;
    const SummaryTotals& tb = other.totals;
    book.Table(columns,
               {
                   CompareRow(QStringLiteral("总设备功率 Pe,tot (kW)"), FigureKind::Power,
                              ta.installed, tb.installed),
                   CompareRow(QStringLiteral("总有功功率 Ptot (kW)"), FigureKind::Power, ta.active,
                              tb.active),
                   CompareRow(QStringLiteral("总无功功率 Qtot (kvar)"), FigureKind::Power,
                              ta.reactive, tb.reactive),
                   CompareRow(QStringLiteral("总视在功率 Stot (kV·A)"), FigureKind::Power,
                              ta.apparent, tb.apparent),
                   CompareRow(QStringLiteral("总功率因数 cosφtot"), FigureKind::Factor,
                              ta.powerFactor, tb.powerFactor),
                   CompareRow(QStringLiteral("总计算电流 Itot (A)"), FigureKind::Current,
                              ta.current, tb.current),
               },
               {.size = CBookLayout::kBodySize, .keepTogether = true});
    if (!doc.boards.IsEmpty()) {
        book.Space(100);
        book.Reserve(kComparisonHeight * 0.4);
        book.Paragraph(QStringLiteral("配电箱"), kSubsectionSize);
        std::vector<QStringList> rows;
        for (int k = 0; k < doc.boards.GetSize() && k < other.document.boards.GetSize(); ++k) {
            const CBoardCalData& a = doc.boards[k];
            const CBoardCalData& b = other.document.boards[k];
            rows.push_back({Q(a.m_strName), Figure(FigureKind::Power, a.m_strCalcP),
                            Figure(FigureKind::Power, b.m_strCalcP),
                            Figure(FigureKind::Current, a.m_strCalcI),
                            Figure(FigureKind::Current, b.m_strCalcI)});
        }
        book.Table({{QStringLiteral("配电箱名称"), 1.4},
                    {QStringLiteral("Pjs (kW) 原有规则"), 1},
                    {QStringLiteral("Pjs (kW) GB 51348-2019"), 1},
                    {QStringLiteral("Ijs (A) 原有规则"), 1},
                    {QStringLiteral("Ijs (A) GB 51348-2019"), 1}},
                   rows, {.size = CBookLayout::kTableSize});
    }
}

void Checks(CBookLayout& book, CSectionNumbers& sections, const BookContent& content)
{
    book.NewPage(false);
    book.Heading(sections.Next(QStringLiteral("审核检查")), kSectionSize, 1);
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

std::string RenderCalculationBook(const CLoadCalDocument& doc, const BookInfo& given)
{
    const CGuiSession session;
    BookInfo info = given;
    if (info.date.empty()) {
        info.date = QDate::currentDate().toString(Qt::ISODate).toStdWString();
    }
    // The library the program works with, when the caller has none at hand
    // and some circuit names a type.
    std::optional<CLoadTypeLibrary> read;
    const bool typed = std::any_of(doc.loads.begin(), doc.loads.end(), [](const CLoadCalData& c) {
        return !Trim(c.m_strLoadType).empty();
    });
    if (!info.library && typed) {
        read = LoadLoadTypeLibrary(UserLoadTypesPath(CLoadCalRecentFiles::DefaultSettingsPath()))
                   .library;
        info.library = &*read;
    }
    const BookContent content = BuildBookContent(doc, info.library);
    const TitleFacts facts = Facts(info);
    const bool boards = !doc.boards.IsEmpty();

    // The body first, to learn the pages its sections start on; then the
    // title page and the contents, whose length does not depend on the
    // numbers they print.
    CBookLayout body;
    CSectionNumbers sections;
    // The comparison comes after the basis, the formulas, the tables (two or
    // three), the board pages (with boards), the transformers and the totals.
    const QString comparisonSection = Numeral(boards ? 8 : 6);
    // The sources of the load types come last, after the checks.
    const QString sourcesSection = Numeral((boards ? 9 : 7) + (content.comparison ? 1 : 0));
    const TypeNotes notes{content, sourcesSection};
    BasisAndFormulas(body, sections, doc, comparisonSection, content.fire);
    LoadTable(body, sections, doc.loads, content.totals, boards, notes);
    if (boards) {
        BoardTable(body, sections, doc.boards, content.fire);
    }
    TransformerTable(body, sections, doc.transformers, content.fire);
    if (boards) {
        BoardSections(body, sections, doc, content, notes);
    }
    TransformerSections(body, sections, doc, content, notes);
    Totals(body, sections, content.totals, doc.rules);
    if (content.comparison) {
        Comparison(body, sections, doc, content);
    }
    Checks(body, sections, content);
    if (!content.types.empty()) {
        TypeSources(body, sections, content);
    }
    const std::vector<CBookLayout::TocEntry> entries = body.TocEntries();

    const auto front = [&](int firstBodyPage) {
        CBookLayout layout;
        TitlePage(layout, facts, doc, content);
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

void WriteCalculationBook(const std::filesystem::path& path, const CLoadCalDocument& doc,
                          const BookInfo& info, bool replace)
{
    RequireTarget(path, replace);
    WriteOutputFile(path, RenderCalculationBook(doc, info), replace);
}

}  // namespace loadcal
