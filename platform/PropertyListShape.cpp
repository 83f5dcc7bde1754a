#include "platform/PropertyListShape.h"

#include <QByteArrayView>
#include <QChar>

#include <algorithm>
#include <cstring>
#include <vector>

namespace PropertyListShape {
namespace {

constexpr qint64 trailerSize = 32;
constexpr qint64 headerSize = 8; // "bplist00"

quint64 bigEndian(const uchar* bytes, int size) {
    quint64 value = 0;
    for (int index = 0; index < size; ++index)
        value = (value << 8) | bytes[index];
    return value;
}

// The object graph of a binary list, walked without recursion: every object is looked at once, its depth,
// value count and payload (as libplist would expand them) kept beside it.
class BinaryShape {
public:
    explicit BinaryShape(const QByteArray& bytes)
        : m_data(reinterpret_cast<const uchar*>(bytes.constData()))
        , m_size(bytes.size()) {}

    bool isWithinLimits() {
        if (m_size < headerSize + trailerSize)
            return false;
        const uchar* trailer = m_data + m_size - trailerSize;
        m_offsetSize = trailer[6];
        m_referenceSize = trailer[7];
        const quint64 objectCount = bigEndian(trailer + 8, 8);
        const quint64 topObject = bigEndian(trailer + 16, 8);
        const quint64 tableOffset = bigEndian(trailer + 24, 8);
        m_objectsEnd = m_size - trailerSize;
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8)
            return false;
        if (objectCount == 0 || objectCount > quint64(m_objectsEnd) || topObject >= objectCount ||
            tableOffset < quint64(headerSize) || tableOffset > quint64(m_objectsEnd) ||
            objectCount * m_offsetSize > quint64(m_objectsEnd) - tableOffset)
            return false;
        m_table = m_data + tableOffset;
        m_objectCount = qint64(objectCount);
        m_state.assign(size_t(m_objectCount), unvisited);
        m_depth.assign(size_t(m_objectCount), 0);
        m_values.assign(size_t(m_objectCount), 0);
        m_payload.assign(size_t(m_objectCount), 0);
        return walk(qint64(topObject));
    }

private:
    enum State : uchar { unvisited, open, done };
    struct Object {
        bool isDictionary = false;
        bool holdsNul = false;   // a string with a NUL character, which libplist cannot take as a key
        qint64 payload = 0;      // bytes of a string or data
        qint64 referencesAt = 0; // where the child references start
        qint64 referenceCount = 0;
    };

    // The count in a marker's low nibble, or in the integer that follows it.
    bool readCount(uchar info, qint64& position, qint64& count) const {
        if (info != 0x0F) {
            count = info;
            return true;
        }
        if (position >= m_objectsEnd)
            return false;
        const uchar marker = m_data[position];
        if ((marker >> 4) != 0x1 || (marker & 0x0F) > 3)
            return false;
        const int width = 1 << (marker & 0x0F);
        if (position + 1 + width > m_objectsEnd)
            return false;
        const quint64 value = bigEndian(m_data + position + 1, width);
        if (value > quint64(m_size))
            return false;
        count = qint64(value);
        position += 1 + width;
        return true;
    }

    bool describe(qint64 object, Object& description) const {
        const quint64 offset = bigEndian(m_table + object * m_offsetSize, m_offsetSize);
        if (offset < quint64(headerSize) || offset >= quint64(m_objectsEnd))
            return false;
        qint64 position = qint64(offset);
        const uchar marker = m_data[position++];
        const uchar type = marker >> 4;
        const uchar info = marker & 0x0F;
        qint64 length = 0;
        qint64 count = 0;
        switch (type) {
        case 0x0: // null, booleans, fill
            break;
        case 0x1: // integer
        case 0x2: // real
            if (info > 4)
                return false;
            length = qint64(1) << info;
            break;
        case 0x3: // date
            length = 8;
            break;
        case 0x4: // data
        case 0x5: // ASCII string
        case 0x6: // UTF-16 string
            if (!readCount(info, position, count))
                return false;
            length = type == 0x6 ? 2 * count : count;
            description.payload = length;
            if (length > m_objectsEnd - position)
                return false;
            description.holdsNul = type == 0x5 ? std::memchr(m_data + position, 0, size_t(length)) != nullptr
                                   : type == 0x6 ? holdsNulCodeUnit(position, count)
                                                 : false;
            break;
        case 0x8: // UID
            length = info + 1;
            break;
        case 0xA: // array
        case 0xC: // set
        case 0xD: // dictionary: the keys' references, then the values'
            if (!readCount(info, position, count))
                return false;
            description.referenceCount = type == 0xD ? 2 * count : count;
            description.isDictionary = type == 0xD;
            description.referencesAt = position;
            length = description.referenceCount * m_referenceSize;
            break;
        default:
            return false;
        }
        return length <= m_objectsEnd - position;
    }

    bool holdsNulCodeUnit(qint64 position, qint64 count) const {
        for (qint64 index = 0; index < count; ++index) {
            if (m_data[position + 2 * index] == 0 && m_data[position + 2 * index + 1] == 0)
                return true;
        }
        return false;
    }

    qint64 reference(const Object& description, qint64 index) const {
        return qint64(
            bigEndian(m_data + description.referencesAt + index * m_referenceSize, m_referenceSize));
    }

    bool walk(qint64 top) {
        struct Frame {
            qint64 object;
            Object description;
            qint64 next = 0;
        };
        std::vector<Frame> stack;
        const auto enter = [&](qint64 object) {
            Frame frame{object, {}};
            if (!describe(object, frame.description) || qint64(stack.size()) > maximumDepth)
                return false;
            m_state[size_t(object)] = open;
            stack.push_back(frame);
            return true;
        };
        if (!enter(top))
            return false;
        while (!stack.empty()) {
            Frame& frame = stack.back();
            if (frame.next < frame.description.referenceCount) {
                const qint64 child = reference(frame.description, frame.next++);
                if (child < 0 || child >= m_objectCount || m_state[size_t(child)] == open)
                    return false; // out of range, or an object inside itself
                // libplist aborts on a dictionary key with a NUL character in it.
                Object key;
                if (frame.description.isDictionary && frame.next <= frame.description.referenceCount / 2 &&
                    (!describe(child, key) || key.holdsNul))
                    return false;
                // Last: entering may move the stack, and frame with it.
                if (m_state[size_t(child)] == unvisited && !enter(child))
                    return false;
                continue;
            }
            // Every child is done: this object's totals are its children's, once per reference.
            const size_t object = size_t(frame.object);
            qint64 values = 1;
            qint64 payload = frame.description.payload;
            int depth = 0;
            for (qint64 index = 0; index < frame.description.referenceCount; ++index) {
                const size_t child = size_t(reference(frame.description, index));
                values += m_values[child];
                payload += m_payload[child];
                depth = std::max(depth, m_depth[child]);
                if (values > maximumValues || payload > maximumPayload)
                    return false;
            }
            m_values[object] = values;
            m_payload[object] = payload;
            // Levels below and including this object; a leaf is one level, inside its container.
            m_depth[object] = depth + 1;
            if (m_depth[object] > maximumDepth + 1)
                return false;
            m_state[object] = done;
            stack.pop_back();
        }
        return true;
    }

    const uchar* m_data;
    qint64 m_size;
    qint64 m_objectsEnd = 0;
    const uchar* m_table = nullptr;
    qint64 m_objectCount = 0;
    int m_offsetSize = 0;
    int m_referenceSize = 0;
    std::vector<State> m_state;
    std::vector<int> m_depth;
    std::vector<qint64> m_values;
    std::vector<qint64> m_payload;
};

bool startsWith(const QByteArray& bytes, qsizetype at, const char* text) {
    return QByteArrayView(bytes).sliced(at).startsWith(text);
}

// The XML form: elements are counted and container nesting measured by a scan that skips comments,
// CDATA sections, declarations and quoted attribute values, so none of them can hide or fake a tag.
bool xmlIsWithinLimits(const QByteArray& bytes) {
    const qsizetype size = bytes.size();
    int depth = 0;
    qint64 elements = 0;
    qsizetype at = 0;
    while ((at = bytes.indexOf('<', at)) >= 0) {
        const auto skipTo = [&](const char* end) {
            const qsizetype found = bytes.indexOf(end, at);
            at = found < 0 ? size : found + qsizetype(qstrlen(end));
        };
        if (startsWith(bytes, at, "<!--")) {
            at += 4;
            skipTo("-->");
            continue;
        }
        if (startsWith(bytes, at, "<![CDATA[")) {
            skipTo("]]>");
            continue;
        }
        if (startsWith(bytes, at, "<?")) {
            skipTo("?>");
            continue;
        }
        const bool closing = startsWith(bytes, at, "</");
        qsizetype nameStart = at + (closing ? 2 : 1);
        qsizetype nameEnd = nameStart;
        while (nameEnd < size && !QChar::isSpace(uchar(bytes.at(nameEnd))) && bytes.at(nameEnd) != '>' &&
               bytes.at(nameEnd) != '/')
            ++nameEnd;
        const QByteArrayView name = QByteArrayView(bytes).sliced(nameStart, nameEnd - nameStart);
        // The end of the tag, past quoted attribute values.
        qsizetype end = nameEnd;
        char quote = 0;
        for (; end < size; ++end) {
            const char c = bytes.at(end);
            if (quote) {
                if (c == quote)
                    quote = 0;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                break;
            }
        }
        const bool container = name == "array" || name == "dict";
        if (closing) {
            if (container)
                depth = std::max(0, depth - 1);
        } else if (!name.startsWith('!')) {
            const bool empty = end < size && end > nameEnd && bytes.at(end - 1) == '/';
            if (++elements > maximumValues)
                return false;
            if (container && !empty && ++depth > maximumDepth)
                return false;
        }
        at = end + 1;
    }
    return true;
}

} // namespace

bool isWithinLimits(const QByteArray& bytes) {
    if (bytes.size() > maximumFileSize)
        return false;
    if (bytes.startsWith("bplist00"))
        return BinaryShape(bytes).isWithinLimits();
    return xmlIsWithinLimits(bytes);
}

} // namespace PropertyListShape
