// Misuse of counted pointers. Each `misuse` is put in place of its comment, alone, and the compiler
// must say what `says` matches; without any of them this compiles.

#include "Platform/Framework/Ptr.h"

struct Fruit : PtrInterface {
    int weight = 1;
};
struct Apple final : Fruit {};
struct Stone final : PtrInterface {};

void use(Ptr<Apple> const & apple, PtrConst<Fruit> const & constant, Ptr<Stone> const & stone) {
    Ptr<Fruit> fruit = apple;
    PtrConst<Fruit> const same = fruit;
    BorrowedPtr<Fruit const> const borrowed(constant.get());
    bool const isNull = fruit == nullptr;
    static_cast<void>(isNull);
    static_cast<void>(stone);

    // misuse: Ptr<Fruit> changeable = constant;
    // says: conversion from 'Ptr<const Fruit>'|no viable conversion

    // misuse: fruit = stone;
    // says: no match for 'operator='|no viable overloaded '='

    // misuse: Ptr<Apple> narrowed = fruit;
    // says: conversion from 'Ptr<Fruit>'|no viable conversion

    // misuse: Ptr<Fruit> raw = new Apple;
    // says: conversion from 'Apple\*'|no viable conversion

    // misuse: constant->weight = 2;
    // says: in read-only object|const-qualified type

    // misuse: Apple copy = *apple;
    // says: use of deleted function|implicitly-deleted

    // misuse: BorrowedPtr<Fruit const> another = borrowed;
    // says: use of deleted function|call to deleted constructor

    // misuse: Ptr<Apple> changeable = ptrCast<Apple>(constant);
    // says: casts away|discards qualifiers

    // misuse: bool const equal = apple == stone;
    // says: comparison (between|of) distinct pointer types

    // misuse: bool const given = fruit;
    // says: cannot convert|no viable conversion

    // misuse: fruit.release();
    // says: nodiscard|warn_unused_result

    // misuse: Ptr<int> number = makePtr<int>(1);
    // says: PtrInterface
}
