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
    <name>Manager</name>
    <message>
        <source>Prompt</source>
        <translation>提示</translation>
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
