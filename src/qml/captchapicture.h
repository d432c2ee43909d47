// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "qml/failurevalue.h"
#include "qml/request.h"

#include <QImage>
#include <QPointer>
#include <QQuickPaintedItem>

/// Fetches a captcha and paints it; CaptchaImage.qml describes it to those who do not see it.
///
/// It is an item and so no KelQmlRequest, but has one.
class KelQmlCaptchaPicture : public QQuickPaintedItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(CaptchaPicture)
    Q_PROPERTY(KelQmlClient* client READ client WRITE setClient NOTIFY clientChanged)
    Q_PROPERTY(QSize pictureSize READ pictureSize WRITE setPictureSize NOTIFY pictureSizeChanged)
    Q_PROPERTY(bool automatic READ isAutomatic WRITE setAutomatic NOTIFY automaticChanged)
    Q_PROPERTY(State loading READ loading NOTIFY loadingChanged)
    Q_PROPERTY(QString captchaId READ captchaId NOTIFY captchaIdChanged)
    Q_PROPERTY(KelQmlFailure failure READ failure NOTIFY loadingChanged)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString description READ description NOTIFY loadingChanged)

public:
    enum State { Null, Loading, Ready, Error };
    Q_ENUM(State)

    explicit KelQmlCaptchaPicture(QQuickItem* parent = nullptr);

    KelQmlClient* client() const { return mRequest.client(); }
    void setClient(KelQmlClient* client);
    /// Asked of the service, in its pixels; it may give another.
    QSize pictureSize() const { return mPictureSize; }
    void setPictureSize(const QSize& size);
    /// Whether it fetches one by itself, as soon as it has an initialised client.
    bool isAutomatic() const { return mAutomatic; }
    void setAutomatic(bool automatic);
    State loading() const { return mState; }
    QString captchaId() const { return mCaptchaId; }
    /// Also of a picture that cannot be read.
    KelQmlFailure failure() const { return mFailure; }

    /// For a screen reader: what it is, and what there is to be said of it now.
    QString title() const;
    QString description() const;

    Q_INVOKABLE void reload();

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void clientChanged();
    void pictureSizeChanged();
    void automaticChanged();
    void loadingChanged();
    void captchaIdChanged();

protected:
    void componentComplete() override;

private:
    void begin();
    void show(const KelAccount::Captcha& captcha);
    void setState(State state, const QImage& picture, const QString& id,
                  const KelQmlFailure& failure);

    KelQmlRequest mRequest;
    QSize mPictureSize{200, 80};
    bool mAutomatic = true;
    State mState = Null;
    QImage mPicture;
    QString mCaptchaId;
    KelQmlFailure mFailure;
};
