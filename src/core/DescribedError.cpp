#include "core/DescribedError.h"

DescribedError::DescribedError(QString description)
    : m_description(std::move(description)), m_utf8(m_description.toUtf8())
{}

QString DescribedError::describe(const std::exception_ptr &error)
{
    try {
        if (error)
            std::rethrow_exception(error);
    } catch (const DescribedError &e) {
        return e.description();
    } catch (const std::exception &e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
    }
    return QStringLiteral("Unknown error.");
}
