// Texts that Tarnwell shows in the explorer, in Polish. UTF-8; the extension reads from the first
// brace on. Menu items stand after the explorer's own, so they read like these.
var language = {
    "menu": {
        "open": "Otwórz"
    },
    "tarnwellDLL": {
        "sign": "Podpisz",
        "encrypt": "Zaszyfruj",
        "signencrypt": "Podpisz i zaszyfruj",
        "recover": "Odszyfruj i otwórz",
        "recover_veryfy": "Zweryfikuj i otwórz",
        "general_error_title": "Nie można wykonać polecenia",
        "general_error_message": "Plik nie został przetworzony. Sprawdź, czy menedżer Corvane jest zainstalowany i czy plik nie jest uszkodzony, a następnie spróbuj ponownie.",
        "open_file_error_message": "Plik został wyodrębniony, ale nie można go otworzyć. Otwórz go z jego folderu w wybranym programie.",
        "recover_error_title": "Nie można wyodrębnić zawartości",
        "recover_error_message": "Nie można zapisać zawartości podpisanego pliku w jego folderze. Sprawdź, czy plik nie jest uszkodzony i czy masz uprawnienia do zapisywania plików w tym folderze, a następnie spróbuj ponownie.",
        "signed_by": "Podpisane przez",
        "signed_on": "Data podpisania"
    }
};
