<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_TW">
<context>
    <name>scanner_cfg</name>
    <message>
        <source>default_setting</source>
        <translation>預設設定</translation>
    </message>
</context>
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>Add new scheme</source>
        <translation>新增設定方案</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The configuration scheme already exists</source>
        <translation>設定方案已存在</translation>
    </message>
    <message>
        <source>be sure to delete the configuration</source>
        <translation>確認刪除設定</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the configuration &quot;</source>
        <translation>確定要刪除設定方案「</translation>
    </message>
    <message>
        <source>&quot; ?</source>
        <translation>」嗎？</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the configuration?</source>
        <translation>確定要刪除全部設定方案嗎？</translation>
    </message>
    <message>
        <source>%1dpi</source>
        <translation>%1dpi</translation>
    </message>
    <message>
        <source>scheme</source>
        <translation>方案</translation>
    </message>
</context>
<context>
    <name>Manager</name>
    <message>
        <source>Prompt</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>about...</source>
        <translation>關於...</translation>
    </message>
    <message>
        <source>scan</source>
        <translation>掃描</translation>
    </message>
    <message>
        <source>ok</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>configuration scheme management</source>
        <translation>配置方案管理</translation>
    </message>
    <message>
        <source>existing configuration scheme</source>
        <translation>已有配置方案</translation>
    </message>
    <message>
        <source>Add new</source>
        <translation>新增</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>儲存</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>刪除</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>全部刪除</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>還原</translation>
    </message>
    <message>
        <source>The current parameter settings are inconsistent with the configuration scheme &apos;%1&apos;. To use the configuration scheme &apos;%1&apos; parameters, please click the restore button</source>
        <translation>目前參數設定與配置方案「%1」不一致，如需使用配置方案「%1」的參數，請點擊還原按鈕</translation>
    </message>
    <message>
        <source>regional crop</source>
        <translation>區域裁剪</translation>
    </message>
    <message>
        <source>custom tone curve</source>
        <translation>自訂色調曲線</translation>
    </message>
    <message>
        <source>Prompt</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The funtion is unsupported</source>
        <translation>目前版本不支援該功能</translation>
    </message>
    <message>
        <source>This function may cause a decrease in the speed of drawing.</source>
        <translation>開啟該功能可能會導致出圖速度下降。</translation>
    </message>
</context>
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>about </source>
        <translation>關於 </translation>
    </message>
    <message>
        <source>Not supported</source>
        <translation>不支援</translation>
    </message>
    <message>
        <source>&lt;p&gt;Device model: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;設備型號：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Driver version: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;驅動版本：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Firmware number: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;韌體版本：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Serial number: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;序號：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Roller count: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;滾軸計數：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;History count: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;歷史掃描張數：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Initial startup time: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;首次開機時間：%1&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>Widget</name>
    <message>
        <source>zuobiaozhou</source>
        <translation>座標軸</translation>
    </message>
</context>
<context>
    <name>setPicClrTool</name>
    <message>
        <source>自定义色调曲线</source>
        <translation>自訂色調曲線</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>自訂</translation>
    </message>
    <message>
        <source>负片（RGB）</source>
        <translation>負片（RGB）</translation>
    </message>
    <message>
        <source>彩色负片（RGB）</source>
        <translation>彩色負片（RGB）</translation>
    </message>
    <message>
        <source>较暗（RGB）</source>
        <translation>較暗（RGB）</translation>
    </message>
    <message>
        <source>较亮（RGB）</source>
        <translation>較亮（RGB）</translation>
    </message>
    <message>
        <source>灰</source>
        <translation>灰</translation>
    </message>
    <message>
        <source>红</source>
        <translation>紅</translation>
    </message>
    <message>
        <source>蓝</source>
        <translation>藍</translation>
    </message>
    <message>
        <source>绿</source>
        <translation>綠</translation>
    </message>
    <message>
        <source>初始化</source>
        <translation>初始化</translation>
    </message>
    <message>
        <source>输入：</source>
        <translation>輸入：</translation>
    </message>
    <message>
        <source>输出：</source>
        <translation>輸出：</translation>
    </message>
</context>
<context>
    <name>CutPaperTool</name>
    <message>
        <source>自定义扫描区域</source>
        <translation>自訂掃描區域</translation>
    </message>
    <message>
        <source>纸张尺寸：</source>
        <translation>紙張尺寸：</translation>
    </message>
    <message>
        <source>DPI(像素/英寸)：</source>
        <translation>DPI(像素/英吋)：</translation>
    </message>
    <message>
        <source>单位：</source>
        <translation>單位：</translation>
    </message>
    <message>
        <source>毫米（mm）</source>
        <translation>毫米（mm）</translation>
    </message>
    <message>
        <source>英寸（in)</source>
        <translation>英吋（in)</translation>
    </message>
    <message>
        <source>像素（px）</source>
        <translation>像素（px）</translation>
    </message>
    <message>
        <source>初始化选择区域</source>
        <translation>初始化選擇區域</translation>
    </message>
</context>
<context>
    <name>Dialog_progress_ui</name>
    <message>
        <source>Dialog</source>
        <translation>掃描狀態</translation>
    </message>
    <message>
        <source>Cancel Scan</source>
        <translation>取消掃描</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>關閉</translation>
    </message>
    <message>
        <source>start scanning</source>
        <translation>開始掃描...</translation>
    </message>
    <message>
        <source>stop scanning</source>
        <translation>正在停止掃描...</translation>
    </message>
    <message>
        <source>image recived:</source>
        <translation>已接收影像：</translation>
    </message>
    <message>
        <source>Start scan...</source>
        <translation>開始掃描...</translation>
    </message>
    <message>
        <source>Scan completed</source>
        <translation>掃描完成</translation>
    </message>
    <message>
        <source>Total scanned images: %1</source>
        <translation>共掃描影像：%1</translation>
    </message>
</context>
<context>
    <name>Dialog_Source_Select</name>
    <message>
        <source>Select source</source>
        <translation>選擇來源</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Load library failed</source>
        <translation>載入驅動程式庫失敗</translation>
    </message>
    <message>
        <source>Find function failed</source>
        <translation>尋找驅動程式函式失敗</translation>
    </message>
</context>
<context>
    <name>Dialog_Twain_Source_Select</name>
    <message>
        <source>Select source</source>
        <translation>選擇來源</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>Dialog_abnormal_img_select</name>
    <message>
        <source>Dialog</source>
        <translation>異常影像</translation>
    </message>
    <message>
        <source>Reserve</source>
        <translation>保留影像</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>捨棄影像</translation>
    </message>
</context>
<context>
    <name>Dialog_device_select</name>
    <message>
        <source>Dialog</source>
        <translation>選擇裝置</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>Dialog_Input</name>
    <message>
        <source>Dialog</source>
        <translation>輸入名稱</translation>
    </message>
    <message>
        <source>输入：</source>
        <translation>輸入：</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The content can not be empty</source>
        <translation>內容不能為空</translation>
    </message>
</context>
</TS>
