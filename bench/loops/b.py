def main():
    i = 0
    a = 0
    b = 0
    while i < 10000:
        j = 0
        while j < 1000:
            if j % 2 == 0:
                a = a + 1
            else:
                b = b + 1
            j = j + 1
        i = i + 1


main()
