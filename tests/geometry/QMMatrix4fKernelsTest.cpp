#include "geometry/QMMatrix4f.h"

#include "geometry/QMQuaternion.h"

#include "FloatBits.h"
#include "QMMatrixCodeTestUtil.h"

#include <cmath>

namespace {

// The inversion flag is process-wide: tests that invert put it back as the
// other tests of the program expect to find it.
class FlagGuard {
public:
    FlagGuard() : m_saved(QMMatrix4f::s_inversibleFlag) {}
    ~FlagGuard() { QMMatrix4f::s_inversibleFlag = m_saved; }

private:
    int m_saved;
};

}  // namespace

TEST(QMMatrix4fKernels, InverseOfDiagonalAndFlag) {
    const FlagGuard guard;
    QMMatrix4f m;
    m.setScale(QMVector3f(2, 4, 8));
    QMMatrix4f r;
    ASSERT_TRUE(m.inverse(r));
    EXPECT_EQ(1, QMMatrix4f::s_inversibleFlag);
    EXPECT_EQ(0.5f, r.m_data[0]);
    EXPECT_EQ(0.25f, r.m_data[5]);
    EXPECT_EQ(0.125f, r.m_data[10]);
    EXPECT_EQ(m.m_type, r.m_type);
    m.setScale(QMVector3f(0, 1, 1));
    EXPECT_FALSE(m.inverse(r));
    EXPECT_EQ(0, QMMatrix4f::s_inversibleFlag);
}

TEST(QMMatrix4fKernels, InverseUndoesPlacement) {
    const FlagGuard guard;
    QMMatrix4f m;
    m.setScale(QMVector3f(3, 3, 3), QMVector3f(1, 2, 3));
    QMMatrix4f r;
    ASSERT_TRUE(m.inverse(r));
    const QMVector3f p = r * (m * QMVector3f(5, -1, 2));
    EXPECT_NEAR(5.0f, p.x, 1e-6f);
    EXPECT_NEAR(-1.0f, p.y, 1e-6f);
    EXPECT_NEAR(2.0f, p.z, 1e-6f);
}

TEST(QMMatrix4fKernels, MultLeftAndRightAreGeneralType) {
    QMMatrix4f a, b;
    a.setTranslation(QMVector3f(1, 0, 0));
    b.setScale(QMVector3f(2, 2, 2));
    QMMatrix4f l = a;
    l.multLeftBy(b);  // S T
    EXPECT_EQ(QMMatrix4f::TYPE_GENERAL, l.m_type);
    EXPECT_EQ(2.0f, l.m_data[12]);
    QMMatrix4f r = a;
    r.multRightBy(b);  // T S
    EXPECT_EQ(QMMatrix4f::TYPE_GENERAL, r.m_type);
    EXPECT_EQ(1.0f, r.m_data[12]);
    EXPECT_EQ(2.0f, r.m_data[0]);
}

TEST(QMMatrix4fKernels, SetValueUpdatesType) {
    const float v[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1};
    QMMatrix4f m;
    m.setValue(v);
    EXPECT_EQ(QMMatrix4f::TYPE_AFFINE, m.m_type);
    EXPECT_EQ(5.0f, m.m_data[13]);
    float p[16] = {1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    m.setValue(p);
    EXPECT_EQ(QMMatrix4f::TYPE_GENERAL, m.m_type);
}

TEST(QMMatrix4fKernels, SetBaseAndTranspose3) {
    QMMatrix4f m;
    m.setBase(QMVector3f(1, 2, 3), QMVector3f(4, 5, 6), QMVector3f(7, 8, 9), QMVector3f(10, 11, 12));
    EXPECT_EQ(QMMatrix4f::TYPE_AFFINE, m.m_type);
    EXPECT_EQ(4.0f, m.m_data[4]);
    EXPECT_EQ(12.0f, m.m_data[14]);
    m.transpose3();
    EXPECT_EQ(2.0f, m.m_data[4]);
    EXPECT_EQ(4.0f, m.m_data[1]);
    EXPECT_EQ(12.0f, m.m_data[14]);
}

TEST(QMMatrix4fKernels, SetScaleAlongAxis) {
    QMMatrix4f m;
    m.setScale(QMVector3f(0, 0, 5), 3.0f);
    EXPECT_EQ(QMMatrix4f::TYPE_AFFINE, m.m_type);
    const QMVector3f p = m * QMVector3f(1, 1, 1);
    EXPECT_EQ(1.0f, p.x);
    EXPECT_EQ(1.0f, p.y);
    EXPECT_EQ(3.0f, p.z);
}

TEST(QMMatrix4fKernels, RotationSettersAreType2) {
    QMMatrix4f m;
    m.setRotation(QMVector3f(0, 0, 2), (float)(M_PI / 2));
    EXPECT_EQ(QMMatrix4f::TYPE_ROTATION, m.m_type);
    QMVector3f p = m * QMVector3f(1, 0, 0);
    EXPECT_NEAR(1.0f, p.y, 1e-7f);

    m.setRotation(QMVector3f(0, 0, 1), (float)(M_PI / 2), QMVector3f(1, 1, 0));
    EXPECT_EQ(QMMatrix4f::TYPE_ROTATION, m.m_type);
    p = m * QMVector3f(2, 1, 0);  // one unit right of the centre -> one unit above
    EXPECT_NEAR(1.0f, p.x, 1e-6f);
    EXPECT_NEAR(2.0f, p.y, 1e-6f);

    const QMQuaternion q(QMVector3f(0, 0, 1), (float)(M_PI / 2));
    m.setRotation(q, QMVector3f(1, 1, 0));
    EXPECT_EQ(QMMatrix4f::TYPE_ROTATION, m.m_type);
    p = m * QMVector3f(2, 1, 0);
    EXPECT_NEAR(1.0f, p.x, 1e-6f);
    EXPECT_NEAR(2.0f, p.y, 1e-6f);
}

TEST(QMMatrix4fKernels, RotationFromTo) {
    QMMatrix4f m;
    m.setRotationFromTo(QMVector3f(0, 1, 0), QMVector3f(0, 0, 4));
    EXPECT_EQ(QMMatrix4f::TYPE_ROTATION, m.m_type);
    const QMVector3f p = m * QMVector3f(0, 1, 0);
    EXPECT_NEAR(1.0f, p.z, 1e-7f);
    m.setRotationFromTo(QMVector3f(0, 1, 0), QMVector3f(0, -1, 0));
    EXPECT_TRUE(m.equals(QMMatrix4f::m_identity));
}

TEST(QMMatrix4fKernels, FrameRotations) {
    const QMVector3f x(0, 1, 0), y(-1, 0, 0), z(0, 0, 1);
    QMMatrix4f to, from, both;
    to.setRotationFromXYZToAxis(x, y, z);
    QMVector3f p = to * QMVector3f(1, 0, 0);
    EXPECT_EQ(1.0f, p.y);
    from.setRotationFromAxisToXYZ(x, y, z);
    p = from * x;
    EXPECT_EQ(1.0f, p.x);
    both.setRotationFromAxisToAxis(x, y, z, QMVector3f(1, 0, 0), QMVector3f(0, 1, 0), QMVector3f(0, 0, 1));
    EXPECT_TRUE(both.equals(from));
    EXPECT_EQ(QMMatrix4f::TYPE_ROTATION, both.m_type);
}

TEST(QMMatrix4fKernels, NormalizeAndOrthoNormalize) {
    QMMatrix4f m;
    m.setBase(QMVector3f(3, 0, 4), QMVector3f(0, 2, 0), QMVector3f(0, 0, 0), QMVector3f(1, 1, 1));
    m.normalizeMatrix();
    EXPECT_EQ(0.6f, m.m_data[0]);
    EXPECT_EQ(0.8f, m.m_data[2]);
    EXPECT_EQ(1.0f, m.m_data[5]);
    EXPECT_EQ(0.0f, m.m_data[10]);
    QMMatrix4f o;
    o.setBase(QMVector3f(2, 0, 0), QMVector3f(1, 1, 0), QMVector3f(5, 5, 5), QMVector3f());
    o.orthoNormalizeMatrix();
    const float expected[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    for (int i = 0; i < 12; ++i) EXPECT_EQ(expected[i], o.m_data[i]) << i;
}

TEST(QMMatrix4fKernels, CosAngleAndIsFront) {
    QMMatrix4f m;
    EXPECT_EQ(1.0f, m.getCosAngle());
    m.setRotation(QMVector3f(1, 0, 0), (float)(M_PI / 3));
    EXPECT_NEAR(0.5f, m.getCosAngle(), 1e-7f);
    EXPECT_FALSE(m.isFront(QMVector3f(0, 0, -1)));
    const float view[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, -1, 0, 0, 0, 0};
    QMMatrix4f f;
    f.setValue(view);
    f.m_type = QMMatrix4f::TYPE_FRONT;
    EXPECT_TRUE(f.isFront(QMVector3f(0, 0, -1)));
    EXPECT_FALSE(f.isFront(QMVector3f(0, 0, 1)));
}

TEST(QMMatrix4fKernels, TMSDecompositionRebuildsTheMatrix) {
    QMMatrix4f m;
    m.setBase(QMVector3f(2, 0, 0), QMVector3f(1, 3, 0), QMVector3f(0, 0, 4), QMVector3f(5, 6, 7));
    QMMatrix4f t, mm, s;
    m.getTMSDecomp(t, mm, s);
    EXPECT_EQ(QMMatrix4f::TYPE_GENERAL, t.m_type);
    EXPECT_EQ(QMMatrix4f::TYPE_GENERAL, s.m_type);
    QMMatrix4f back = t;
    back.multRightBy(mm);
    back.multRightBy(s);
    EXPECT_TRUE(back.equalsEps(m, 1e-6f));
}

TEST(QMMatrix4fKernels, TRSDecompositionOverRandomMatrices) {
    TestRng rng(555);
    for (int n = 0; n < 200; ++n) {
        const QMQuaternion q((float)rng.uniform(-1, 1), (float)rng.uniform(-1, 1), (float)rng.uniform(-1, 1),
                             (float)rng.uniform(-1, 1));
        QMMatrix4f rot;
        q.getMatrix(rot);
        QMMatrix4f sc;
        sc.setScale(QMVector3f((float)rng.uniform(0.5, 3), (float)rng.uniform(0.5, 3), (float)rng.uniform(0.5, 3)));
        QMMatrix4f m = rot;
        m.multRightBy(sc);
        m.m_data[12] = 1.0f;
        m.m_data[14] = -2.0f;
        QMMatrix4f t, r, s;
        ASSERT_TRUE(m.getTRSDecomp(t, r, s));
        QMMatrix4f back = t;
        back.multRightBy(r);
        back.multRightBy(s);
        EXPECT_TRUE(back.equalsEps(m, 1e-5f));
        EXPECT_TRUE(r.equalsEps(rot, 1e-5f));
        QMVector3f tr, scale;
        QMQuaternion rq;
        ASSERT_TRUE(m.getTransform(tr, rq, scale));
        EXPECT_EQ(-2.0f, tr.z);
        EXPECT_NEAR(sc.m_data[0], scale.x, 1e-5f);
        EXPECT_NEAR(sc.m_data[10], scale.z, 1e-5f);
    }
}

TEST(QMMatrix4fKernels, ExistingPlacementMembersUnchanged) {
    QMMatrix4f m;
    m.setScale(QMVector3f(5, 5, 5), QMVector3f(5, 10, 2.5f));
    EXPECT_EQ(QMMatrix4f::TYPE_AFFINE, m.m_type);
    const QMVector3f p = m * QMVector3f(5, 10, 2.5f);
    EXPECT_VEC3_BITS(p, 5.0f, 10.0f, 2.5f);
}
