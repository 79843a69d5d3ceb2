<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- English as Linux speaks it: the texts of the source that name another system. Everything else stays as it is. -->
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>halvard::AlertGenerator</name>
    <message>
        <source>Mac OS X and other applications are not affected.

Click Relaunch to launch the application again. Click Report Us to see more details and send report to the developers for improving the application.</source>
        <translation>Your system and other applications are not affected.

Click Relaunch to launch the application again. Click Report Us to see more details and send report to the developers for improving the application.</translation>
    </message>
</context>
<context>
    <name>halvard::EmailGenerator</name>
    <message>
        <source>

Sent from:
#appname# v#appversion#
OS X #osversion#
</source>
        <translation>

Sent from:
#appname# v#appversion#
Linux #osversion#
</translation>
    </message>
</context>
<context>
    <name>halvard::PromoManager</name>
    <message>
        <source>

Sent from:
#appname# v#appversion#
OS X #osversion#
</source>
        <translation>

Sent from:
#appname# v#appversion#
Linux #osversion#
</translation>
    </message>
</context>
<context>
    <name>SharingServices</name>
    <message>
        <source>Improve Mac performance with %1: </source>
        <translation>Improve Linux performance with %1: </translation>
    </message>
    <message>
        <source>Improve Mac performance by releasing inactive RAM with %1: </source>
        <translation>Improve Linux performance by releasing inactive RAM with %1: </translation>
    </message>
    <message>
        <source>Optimise RAM Usage on Mac</source>
        <translation>Optimise RAM Usage on Linux</translation>
    </message>
    <message>
        <source>Hello!

If you also have RAM issues on your Mac, try to improve its performance with %1: </source>
        <translation>Hello!

If you also have RAM issues on your computer, try to improve its performance with %1: </translation>
    </message>
</context>
</TS>
