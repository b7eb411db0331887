#include "app/viewmodels/CategoriesViewModel.h"

namespace ringfold {

CategoriesViewModel::CategoriesViewModel(QObject* parent) : QObject(parent) {}

void CategoriesViewModel::update(const NodePtr& root) {
    CategoryReport report;
    if (root)
        report = CategorySummarizer::summarize(*root);
    if (report.totalBytes != m_totalBytes) {
        m_totalBytes = report.totalBytes;
        emit totalBytesChanged();
    }
    if (report.summaries != m_summaries) {
        m_summaries = std::move(report.summaries);
        emit summariesChanged();
    }
}

} // namespace ringfold
