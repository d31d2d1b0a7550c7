#include <foundation/network/candidate_address_p.h>
#include <foundation/network/candidate_list_p.h>

CandidateList::CandidateList(const QStringList& candidates)
    : m_texts(candidates)
{
    for (const QString& text : candidates) {
        const CandidateAddress candidate = CandidateAddress::parse(text, 0);
        if (candidate.kind == CandidateAddress::Kind::Label)
            m_labels.append(candidate.deviceId);
    }
}

void CandidateList::removeFirst()
{
    dropFirst();
    skipRemoved();
}

void CandidateList::removeAll(const QString& candidate)
{
    m_removed.insert(candidate);
    skipRemoved();
}

void CandidateList::prepend(const QStringList& candidates)
{
    for (auto text = candidates.crbegin(); text != candidates.crend(); ++text) {
        const CandidateAddress candidate = CandidateAddress::parse(*text, 0);
        if (candidate.kind == CandidateAddress::Kind::Label)
            m_labels.prepend(candidate.deviceId);
        m_removed.remove(*text);
        m_texts.prepend(*text);
    }
}

void CandidateList::clear()
{
    m_texts.clear();
    m_labels.clear();
    m_removed.clear();
}

void CandidateList::dropFirst()
{
    if (CandidateAddress::parse(m_texts.first(), 0).kind == CandidateAddress::Kind::Label)
        m_labels.removeFirst();
    m_texts.removeFirst();
}

void CandidateList::skipRemoved()
{
    while (!m_texts.isEmpty() && m_removed.contains(m_texts.first()))
        m_texts.removeFirst();
}
