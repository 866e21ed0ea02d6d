// Texts that Tarnwell shows in the explorer, in English. UTF-8; the extension reads from the first
// brace on. Menu items stand after the explorer's own, so they read like these.
var language = {
    "menu": {
        "open": "Open"
    },
    "tarnwellDLL": {
        "sign": "Sign",
        "encrypt": "Encrypt",
        "signencrypt": "Sign and encrypt",
        "recover": "Decrypt and open",
        "recover_veryfy": "Verify and open",
        "general_error_title": "The command could not be carried out",
        "general_error_message": "The file was not processed. Check that the Corvane manager is installed and that the file is not damaged, and then try again.",
        "open_file_error_message": "The file was extracted, but could not be opened. Open it from its folder with a program of your choice.",
        "recover_error_title": "The content could not be extracted",
        "recover_error_message": "The content of the signed file could not be written to its folder. Check that the file is not damaged and that you have permission to save files in this folder, and then try again.",
        "signed_by": "Signed by",
        "signed_on": "Signed on"
    }
};
