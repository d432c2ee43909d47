// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/region/configurationvalue.h"

#include <QStringList>

#include <dconf.h>

#include <memory>

namespace {

struct Unref
{
    void operator()(DConfClient* client) const { g_object_unref(client); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
};

QStringList toStringList(GVariant* value)
{
    QStringList texts;
    const gsize count = g_variant_n_children(value);
    for (gsize i = 0; i < count; ++i) {
        const std::unique_ptr<GVariant, Unref> text(g_variant_get_child_value(value, i));
        texts.append(QString::fromUtf8(g_variant_get_string(text.get(), nullptr)));
    }
    return texts;
}

QVariant toVariant(GVariant* value)
{
    switch (g_variant_classify(value)) {
    case G_VARIANT_CLASS_STRING:
    case G_VARIANT_CLASS_OBJECT_PATH:
    case G_VARIANT_CLASS_SIGNATURE:
        return QString::fromUtf8(g_variant_get_string(value, nullptr));
    case G_VARIANT_CLASS_BOOLEAN:
        return g_variant_get_boolean(value) != FALSE;
    case G_VARIANT_CLASS_BYTE:
        return static_cast<uint>(g_variant_get_byte(value));
    case G_VARIANT_CLASS_INT16:
        return static_cast<int>(g_variant_get_int16(value));
    case G_VARIANT_CLASS_UINT16:
        return static_cast<uint>(g_variant_get_uint16(value));
    case G_VARIANT_CLASS_INT32:
        return static_cast<int>(g_variant_get_int32(value));
    case G_VARIANT_CLASS_UINT32:
        return static_cast<uint>(g_variant_get_uint32(value));
    case G_VARIANT_CLASS_INT64:
        return static_cast<qlonglong>(g_variant_get_int64(value));
    case G_VARIANT_CLASS_UINT64:
        return static_cast<qulonglong>(g_variant_get_uint64(value));
    case G_VARIANT_CLASS_DOUBLE:
        return g_variant_get_double(value);
    case G_VARIANT_CLASS_ARRAY:
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING_ARRAY))
            return toStringList(value);
        return {};
    default:
        return {};
    }
}

} // namespace

QVariant configurationValue(const QString& key)
{
    const QByteArray path = key.toUtf8();
    if (!dconf_is_key(path.constData(), nullptr))
        return {};
    const std::unique_ptr<DConfClient, Unref> client(dconf_client_new());
    const std::unique_ptr<GVariant, Unref> value(dconf_client_read(client.get(), path.constData()));
    return value ? toVariant(value.get()) : QVariant();
}
