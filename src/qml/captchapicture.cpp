// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/captchapicture.h"

#include "qml/captchatexts.h"
#include "rest/picture/boundedpicture.h"

#include <QLocale>
#include <QPainter>

KelQmlCaptchaPicture::KelQmlCaptchaPicture(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    setImplicitSize(mPictureSize.width(), mPictureSize.height());
    connect(&mRequest, &KelQmlRequest::clientChanged, this, &KelQmlCaptchaPicture::clientChanged);
    connect(&mRequest, &KelQmlRequest::failed, this,
            [this] { setState(Error, QImage(), QString(), mRequest.failure()); });
    connect(&mRequest, &KelQmlRequest::clientChanged, this, [this] {
        if (!mRequest.client())
            setState(Null, QImage(), QString(), KelQmlFailure());
    });
}

void KelQmlCaptchaPicture::setClient(KelQmlClient* client)
{
    if (client == mRequest.client())
        return;
    if (KelQmlClient* const before = mRequest.client())
        disconnect(before, nullptr, this, nullptr);
    mRequest.setClient(client);
    setState(Null, QImage(), QString(), KelQmlFailure());
    if (client)
        connect(client, &KelQmlClient::initializedChanged, this, &KelQmlCaptchaPicture::begin);
    begin();
}

void KelQmlCaptchaPicture::setPictureSize(const QSize& size)
{
    if (size == mPictureSize)
        return;
    mPictureSize = size;
    if (mPicture.isNull())
        setImplicitSize(size.width(), size.height());
    Q_EMIT pictureSizeChanged();
}

void KelQmlCaptchaPicture::setAutomatic(bool automatic)
{
    if (automatic == mAutomatic)
        return;
    mAutomatic = automatic;
    Q_EMIT automaticChanged();
    begin();
}

void KelQmlCaptchaPicture::componentComplete()
{
    QQuickPaintedItem::componentComplete();
    begin();
}

void KelQmlCaptchaPicture::begin()
{
    if (mAutomatic && isComponentComplete() && mState == Null && client() &&
        client()->isInitialized())
        reload();
}

QString KelQmlCaptchaPicture::title() const
{
    return CaptchaTexts::of(QLocale()).title;
}

QString KelQmlCaptchaPicture::description() const
{
    switch (mState) {
    case Loading:
        return CaptchaTexts::of(QLocale()).loading;
    case Ready:
        return CaptchaTexts::of(QLocale()).ready;
    case Error:
        return mFailure.text();
    case Null:
        break;
    }
    return {};
}

void KelQmlCaptchaPicture::reload()
{
    mRequest.cancel();
    setState(Loading, QImage(), QString(), KelQmlFailure());
    mRequest.ask(
        [this](KelAccount::Client& operations) {
            return operations.retrieveCaptchaImage(mPictureSize.width(), mPictureSize.height());
        },
        [this](const KelAccount::Captcha& captcha) { show(captcha); });
}

void KelQmlCaptchaPicture::show(const KelAccount::Captcha& captcha)
{
    // Of the formats that services send; Qt reads many more, with less care.
    const QImage picture =
        captcha.format.isEmpty() ? QImage() : KelRestHandler::boundedPicture(captcha.bytes);
    if (picture.isNull())
        setState(Error, QImage(), QString(),
                 KelQmlFailure::withStatus(KelAccount::ErrorProtocolFailure));
    else
        setState(Ready, picture, captcha.id, KelQmlFailure());
}

void KelQmlCaptchaPicture::setState(State state, const QImage& picture, const QString& id,
                                    const KelQmlFailure& failure)
{
    mState = state;
    mPicture = picture;
    mFailure = failure;
    const QSize size = picture.isNull() ? mPictureSize : picture.size();
    setImplicitSize(size.width(), size.height());
    update();
    if (id != mCaptchaId) {
        mCaptchaId = id;
        Q_EMIT captchaIdChanged();
    }
    Q_EMIT loadingChanged();
}

void KelQmlCaptchaPicture::paint(QPainter* painter)
{
    if (mPicture.isNull())
        return;
    const QSizeF size = QSizeF(mPicture.size()).scaled(boundingRect().size(), Qt::KeepAspectRatio);
    QRectF place(QPointF(), size);
    place.moveCenter(boundingRect().center());
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(place, mPicture);
}
