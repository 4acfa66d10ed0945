// What the dialog opens beside its pages: the About box with the device's facts,
// the crop tool, whose area goes to the four crop options, and the tone-curve
// editor, whose record goes to the driver's private tone-curve option.
#include "zy_settingdialog.h"
#include "zy_settingdialog_p.h"

#include "cutpapertool.h"
#include "setpicclrtool.h"

#include <QMessageBox>
#include <QPushButton>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <iterator>

using namespace settings_ui;

namespace {

// The on-screen width of the sheet in the crop tool.
constexpr int kCropViewWidth = 300;

// The colour modes whose images have one channel: their tone curve is the gray one.
constexpr const char* kGrayModes[] = {"256级灰度", "黑白", "灰度+黑白"};

// One line of the About box: a private option read as a number or as text.
struct device_fact
{
    SANE_Int option;
    bool number;
    const char* line;
};

const device_fact kDeviceFacts[] = {
    {SANE_PRIVATE_MODEL, false, QT_TRANSLATE_NOOP("zy_settingdialog", "<p>Device model: %1</p>")},
    {SANE_PRIVATE_DRIVER_VERSION, false,
     QT_TRANSLATE_NOOP("zy_settingdialog", "<p>Driver version: %1</p>")},
    {SANE_PRIVATE_FIRMWARE, false,
     QT_TRANSLATE_NOOP("zy_settingdialog", "<p>Firmware number: %1</p>")},
    {SANE_PRIVATE_SERIAL, false, QT_TRANSLATE_NOOP("zy_settingdialog", "<p>Serial number: %1</p>")},
    {SANE_PRIVATE_ROLLER_COUNT, true,
     QT_TRANSLATE_NOOP("zy_settingdialog", "<p>Roller count: %1</p>")},
    {SANE_PRIVATE_HISTORY_COUNT, true,
     QT_TRANSLATE_NOOP("zy_settingdialog", "<p>History count: %1</p>")},
    {SANE_PRIVATE_STARTUP_TIME, false,
     QT_TRANSLATE_NOOP("zy_settingdialog", "<p>Initial startup time: %1</p>")},
};

// Millimetres as a 16.16 fixed value, truncated; false for what no option can hold.
bool to_fixed(double mm, SANE_Word& fixed)
{
    const double scaled = mm * 65536.0;
    if (!std::isfinite(scaled) || scaled <= double(INT_MIN) - 1 || scaled >= double(INT_MAX) + 1)
        return false;
    fixed = static_cast<SANE_Word>(scaled);
    return true;
}

} // namespace

bool zy_settingdialog::run_modal(QDialog& window)
{
    const host_call modal(this);
    // A dialog the host closed meanwhile has ended the window: nothing to take.
    return window.exec() == QDialog::Accepted && !m_closedByHost;
}

void zy_settingdialog::enable_tool_button(const SANE_Option_Descriptor* d, bool checked)
{
    if (m_cropButton && name_is(d, "is-custom-area"))
        m_cropButton->setEnabled(checked);
    else if (m_gammaButton && name_is(d, "is-custom-gamma"))
        m_gammaButton->setEnabled(checked);
}

void zy_settingdialog::slot_buttonAboutClicked()
{
    QString text;
    for (const device_fact& fact : kDeviceFacts) {
        QString value = tr("Not supported");
        if (fact.number) {
            SANE_Word word = 0;
            if (read_private_word(m_saneApi, m_devHandle, fact.option, &word) == SANE_STATUS_GOOD)
                value = QString::number(word);
        } else {
            std::string read;
            if (read_private_text(m_saneApi, m_devHandle, fact.option, read) == SANE_STATUS_GOOD)
                value = QString::fromUtf8(read.c_str()).toHtmlEscaped();
        }
        text += tr(fact.line).arg(value);
    }
    QMessageBox box(QMessageBox::NoIcon, tr("about ") + QString::fromStdString(m_devName), text,
                    QMessageBox::Ok, this, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    box.setStyleSheet(QStringLiteral("QLabel{min-width: 280px;}"));
    run_modal(box);
}

void zy_settingdialog::slot_cutButtonClicked()
{
    // The tool opens on what the device holds now: a scheme, the device's own
    // reset or an adjusted value may differ from what the controls last sent.
    for (const int id : {m_resolutionId, m_paperId, m_areaIds[0], m_areaIds[1], m_areaIds[2],
                         m_areaIds[3]}) {
        if (id < 1 || std::size_t(id) > m_optionValues.size())
            continue;
        read_one_value(id);
        if (m_optionValues[std::size_t(id) - 1].read)
            capture_special_value(id, m_optionValues[std::size_t(id) - 1]);
    }

    CutPaperTool tool(m_dpi, m_paper, kCropViewWidth, m_customCutAreaUnit, this);
    QRectF area(m_cutLeft, m_cutTop, m_cutRight - m_cutLeft, m_cutBottom - m_cutTop);
    tool.setCutRectMM(area);
    if (!run_modal(tool))
        return;

    const QRectF chosen = tool.getCutRectMM();
    const double edges[4] = {chosen.x(), chosen.y(), chosen.x() + chosen.width(),
                             chosen.y() + chosen.height()};
    SANE_Word fixed[4] = {};
    for (int i = 0; i < 4; ++i) {
        if (!to_fixed(edges[i], fixed[i]))
            return;
    }
    m_cutLeft = edges[0];
    m_cutTop = edges[1];
    m_cutRight = edges[2];
    m_cutBottom = edges[3];
    // tl-x, tl-y, br-x, br-y in this order; the rows stay hidden, so no control
    // is refreshed.
    for (int i = 0; i < 4; ++i) {
        const SANE_Option_Descriptor* d = find_option_description(m_areaIds[i]);
        if (!holds_word(d))
            continue;
        sane_value value = sane_value::for_descriptor(*d);
        std::memcpy(value.data(), &fixed[i], sizeof(fixed[i]));
        SANE_Int info = 0;
        write_option(m_areaIds[i], value.data(), &info);
    }
    m_customCutAreaUnit = tool.getUnit();
    updateRestorePushButton();
}

void zy_settingdialog::slot_gammaButtonClicked()
{
    const bool gray = std::any_of(std::begin(kGrayModes), std::end(kGrayModes),
                                  [this](const char* mode) { return means(m_colorMode, mode); });
    read_tone_curve();
    setPicClrTool tool(gray ? 1 : 0, this);
    m_gamma.loadInto(tool);
    if (!run_modal(tool))
        return;

    ToneCurveRecord edited = m_gamma;
    try {
        edited.storeFrom(tool);
    } catch (const char* why) {
        // The record passes the tables' exact lengths; should one still be
        // refused, the device keeps its curve.
        ZyBase_WriteInfo(ZYBASE_LOG_DEBUG, "[zy_settingdialog::slot_gammaButtonClicked] %s", why);
        return;
    }
    m_gamma = edited;
    write_tone_curve(m_gamma);
    updateRestorePushButton();
}

bool zy_settingdialog::read_tone_curve()
{
    if (!m_saneApi.sane_control_option)
        return false;
    // The record has no descriptor: a driver that keeps it shorter leaves zeros
    // at its end, one that keeps it longer still writes into our buffer. The
    // record takes our length, and loads any bytes by its own rules.
    sane_value record(kToneCurveBuffer);
    if (m_saneApi.sane_control_option(m_devHandle, kToneCurveOption, SANE_ACTION_GET_VALUE,
                                      record.data(), nullptr)
        != SANE_STATUS_GOOD)
        return false;
    return m_gamma.assign(record.data(), ToneCurveRecord::Size);
}

void zy_settingdialog::write_tone_curve(const ToneCurveRecord& record)
{
    if (!m_saneApi.sane_control_option)
        return;
    sane_value buffer(kToneCurveBuffer);
    std::memcpy(buffer.data(), record.data(), ToneCurveRecord::Size);
    SANE_Int info = 0;
    m_saneApi.sane_control_option(m_devHandle, kToneCurveOption, SANE_ACTION_SET_VALUE,
                                  buffer.data(), &info);
}
