// A program that needs the newer version of one library, and all that another does when it is
// loaded.

extern "C" int second();
extern "C" int resolved();

int main() {
    return resolved() + second() - 2;
}
