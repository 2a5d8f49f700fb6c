#include "text/InputLoading.h"

#include "text/xmlClass.h"

#include <QFile>
#include <QStringDecoder>

QString DecodeUtf8(QByteArrayView bytes)
{
    QStringDecoder utf8(
        QStringDecoder::Utf8, QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return utf8.decode(bytes);
}

QString ReadUtf8File(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() < 1)
        return {};
    return DecodeUtf8(file.readAll());
}

QString LoadInputText(xmlClass& xml, const QString& path, bool utf8Input)
{
    if (utf8Input)
        return ReadUtf8File(path); // a byte-order mark stays: the two paths differ on purpose
    std::int16_t fileNo = 0;
    const QString text = xml.GetFileContent(path, fileNo);
    if (text.startsWith(QStringView(u"\u00EF\u00BB\u00BF")))
        return ReadUtf8File(path).mid(1);
    return text;
}
